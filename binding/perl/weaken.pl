# Copies an object file, with the Perl symbols that it needs made weak: the copy links and loads
# where there is no Perl, and an interpreter that loads it supplies them.
#
#     perl weaken.pl NM OBJCOPY INPUT OUTPUT
#
# Perl's symbols are those that the interpreter running this script defines, in its executable or
# in the shared library of its own.
use strict;
use warnings;

my ($nm, $objcopy, $input, $output) = @ARGV;

sub symbols {
    my @command = ($nm, '--format=posix', @_);
    open my $out, '-|', @command or die "@command: $!\n";
    my @names = map { (split)[0] } <$out>;
    close $out or die "@command failed\n";
    return @names;
}

my %files = ($^X => 1);
open my $maps, '<', '/proc/self/maps' or die "/proc/self/maps: $!\n";
while (<$maps>) {
    $files{$1} = 1 if m{(/\S*/libperl\.so\S*)$};
}

# A name with "@" is the C library's, which the executable has a copy of.
my %perl = map { $_ => 1 } grep { !/@/ } map { symbols('-D', '--defined-only', $_) } keys %files;
my @weak = grep { $perl{$_} } symbols('--undefined-only', $input);
die "$input needs no symbol of $^X: is this the Perl that it was compiled for?\n" if !@weak;

my @command = ($objcopy, (map { "--weaken-symbol=$_" } @weak), $input, $output);
system(@command) == 0 or die "$objcopy failed\n";
