#!/usr/bin/perl
# Shows an item on the display: perl till.pl NAME PRICE [DEVICE [SETTING]] > /dev/ttyUSB0
use strict;
use warnings;
use KestrixDispEngine;

# A text may have any character, but not these as they are.
my %entity = ('&' => '&amp;', '<' => '&lt;', '>' => '&gt;');
my ($name, $price, $device, $setting) = @ARGV;
fail(2, "usage: till.pl NAME PRICE [DEVICE [SETTING]]") if !defined $price;
s/([&<>])/$entity{$1}/g for $name, $price;
my $document = "<ovix-display><clear/><text x='1' y='1'>$name</text><text x='1' y='2'>$price</text>"
    . "<cursor type='none'/></ovix-display>";

my $engine = KestrixDispEngine::KestrixDispEngine->new;
my $bytes  = $engine->parse($document, $device // "default", $setting // "DEFAULT");
my $status = $engine->getUCHandle;
fail(1, "till: the profile does not open, status $status") if $status < 0;
# The module does not say that a document ended early, but then the command of its last
# element, <cursor type='none'/>, is missing.
fail(1, "till: the document ended early") if $bytes !~ /\x1F\x43\x00\z/;
print $bytes;

close STDOUT or fail(1, "till: $!");

sub fail {
    my ($exit_status, $message) = @_;
    print STDERR "$message\n";
    exit $exit_status;
}
