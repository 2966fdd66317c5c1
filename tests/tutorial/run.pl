#!/usr/bin/perl
# Carries out docs/tutorial.md in a temporary folder: runs its "sh" blocks, and the commands behind
# "$ " in its "console" blocks, whose output must be what stands below them.
#
#   tests/tutorial/run.pl build            check
#   tests/tutorial/run.pl build --update   write the outputs into the tutorial
use strict;
use warnings;
use Cwd 'abs_path';
use File::Basename 'dirname';
use File::Temp 'tempdir';

my ($build, $update) = (abs_path($ARGV[0]), $ARGV[1]);
my $tutorial = abs_path(dirname(__FILE__) . '/../../docs/tutorial.md');
open my $in, '<', $tutorial or die "$tutorial: $!";
my @parts = split /^(```(?:sh|console)\n.*?^```\n)/ms, join '', <$in>;

# One shell carries out all, so that folders and functions stay.
my $work = tempdir(CLEANUP => 1);
mkdir "$work/in";
my $script = '';
my @expected;
for (@parts) {
    if (/^```sh\n(.*)^```\n/ms) {
        $script .= $1;
    } elsif (/^```console\n(.*)^```\n/ms) {
        for my $run (split /^(?=\$ )/m, $1) {
            my ($command, $output) = $run =~ /^\$ (.*)\n((?s:.*))/ or die "no command: $run";
            $script .= "{ $command\n} >$work/" . @expected . " 2>&1\n";
            push @expected, [$command, $output];
        }
    }
}
open my $shell, '|-', "cd $work/in && PATH=$build:\$PATH LC_ALL=C.UTF-8 exec bash" or die "bash: $!";
print $shell $script;
close $shell;

my $failed = @expected < 5;
my @actual = map { open my $out, '<', "$work/$_" or die "$_: $!"; join '', <$out> } 0 .. $#expected;
for my $i (grep { $actual[$_] ne $expected[$_][1] } 0 .. $#expected) {
    $failed = 1;
    print STDERR "\$ $expected[$i][0]\nexpected:\n$expected[$i][1]but it gives:\n$actual[$i]\n";
}
if ($update) {
    my $i = 0;
    s{^(\$ .*\n)(?:(?!\$ |```).*\n)*}{$1 . $actual[$i++]}gem for grep { /^```console/ } @parts;
    open my $out, '>', $tutorial or die "$tutorial: $!";
    print $out @parts;
    exit;
}
exit $failed;
