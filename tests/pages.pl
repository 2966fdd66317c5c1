#!/usr/bin/perl
# Carries out a page of the documentation: runs its "sh" blocks, and the commands after "$ " in its
# "console" blocks, whose output must be what the page shows below them. Works in a temporary folder,
# which is like a clone after `make` as far as the pages need it.
#
#   tests/pages.pl build PAGE            check
#   tests/pages.pl build PAGE --update   write the outputs into the page
use strict;
use warnings;
use Cwd 'abs_path';
use File::Basename 'dirname';
use File::Temp 'tempdir';

my ($build, $page, $update) = (abs_path($ARGV[0]), abs_path($ARGV[1]), $ARGV[2]);
my $clone = abs_path(dirname(__FILE__) . '/..');
open my $in, '<', $page or die "$page: $!";
my @parts = split /^(```(?:sh|console)\n.*?^```\n)/ms, join '', <$in>;

# One shell runs all blocks, so that they share folder and functions.
my $work = tempdir(CLEANUP => 1);
mkdir "$work/in";
mkdir "$work/in/build";
symlink "$build/kestrix-disp", "$work/in/build/kestrix-disp";
system('cp', '-r', "$build/profile", "$clone/examples", "$work/in/build") == 0 or die 'cp';
rename "$work/in/build/examples", "$work/in/examples";
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

my $failed = @expected < 3;
my @actual = map { open my $out, '<', "$work/$_" or die "$_: $!"; join '', <$out> } 0 .. $#expected;
for my $i (grep { $actual[$_] ne $expected[$_][1] } 0 .. $#expected) {
    $failed = 1;
    print STDERR "\$ $expected[$i][0]\nexpected:\n$expected[$i][1]but it gives:\n$actual[$i]\n";
}
if ($update) {
    my $i = 0;
    s{^(\$ .*\n)(?:(?!\$ |```).*\n)*}{$1 . $actual[$i++]}gem for grep { /^```console/ } @parts;
    open my $out, '>', $page or die "$page: $!";
    print $out @parts;
    exit;
}
exit $failed;
