# What the tests share: strict, warnings, Test::More and these functions. They run in the folder of
# a device profile.
package KestrixTest;

use strict;
use warnings;

use Cwd            ();
use File::Basename ();
use FindBin        ();
use KestrixDispEngine;
use Test::More;
use parent 'Exporter';

our @EXPORT = (
    @Test::More::EXPORT,
    qw($CLASS $BUILD $POD $CLEAR @DEVICE call failure bytes number newEngine wrapped resident perl)
);

our $CLASS  = 'KestrixDispEngine::KestrixDispEngine';
our @DEVICE = ('default', 'local');
our $CLEAR  = '<ovix-display><clear/></ovix-display>';
our $POD    = Cwd::abs_path($INC{'KestrixDispEngine.pm'});

my $module_dir = File::Basename::dirname($POD);
our $BUILD = File::Basename::dirname($module_dir);

my $profile = $ENV{KESTRIX_PROFILE_DIR} // "$FindBin::Bin/../../build/profile";
chdir $profile or die "$profile: $!\n";

sub import {
    strict->import;
    warnings->import;
    goto &Exporter::import;
}

sub newEngine { return $CLASS->new }
sub bytes     { return KestrixDispEngine::Bytes->new($_[0]) }
sub number    { return KestrixDispEngine::Number->new($_[0]) }

# A low-level function, with the arguments themselves and not copies of them.
sub call {
    my $function = \&{'KestrixDispEnginec::' . shift};
    return &$function;
}

# The same; what it dies with, or "lives".
sub failure { return eval { &call; 1 } ? 'lives' : $@ }

sub wrapped {
    my ($package, $value) = @_;
    return bless \$value, $package;
}

# Memory of this process, in kilobytes.
sub resident {
    open my $statm, '<', '/proc/self/statm' or die "/proc/self/statm: $!\n";
    return (split ' ', <$statm>)[1] * 4;
}

# Runs a script in an interpreter of its own; its output and exit status.
sub perl {
    my ($script) = @_;
    open my $out, '-|', $^X, "-I$module_dir", '-e', "$script" or die "$^X: $!\n";
    my $output = join '', <$out>;
    close $out;
    return ($output, $?);
}

1;
