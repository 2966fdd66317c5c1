# The library without Perl: it loads with every symbol bound at once, and asks for no libperl.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;

my $library = "$BUILD/libkestrixdispengine.so.1.0";

is readlink "$BUILD/perl/auto/KestrixDispEngine/KestrixDispEngine.so",
    '../../../libkestrixdispengine.so.1.0', 'the module is a link to the library';

sub lines { open my $out, '-|', @_ or die "@_: $!\n"; return <$out> }

my @needed = grep { /NEEDED/ } lines('readelf', '-d', $library);
cmp_ok scalar @needed, '>', 0, 'the library needs others';
is_deeply [grep { /perl/i } @needed], [], 'but not libperl';

my %type = map { (split)[0, 1] } lines('nm', '-D', '--format=posix', '--undefined-only', $library);
my @used = grep { /^(?:Perl|PL)_/ } keys %type;
cmp_ok scalar @used, '>', 0, 'the library uses symbols of the interpreter';
is_deeply [grep { $type{$_} ne 'w' } @used], [], 'all of them weak';

my @boot = grep { /^boot_\S+ T / } lines('nm', '-D', '--format=posix', '--defined-only', $library);
is @boot, 1, 'one boot function is exported';

$ENV{LD_BIND_NOW} = 1;
my $render = "$BUILD/kestrix-disp render - --device $DEVICE[0] --setting $DEVICE[1] --raw";
open my $tool, '|-', "$render >/dev/null" or die "kestrix-disp: $!\n";
print $tool $CLEAR;
ok close $tool, 'a program without Perl runs, all symbols bound';

done_testing;
