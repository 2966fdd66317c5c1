# The examples in the module's documentation do what it says.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;
use Pod::Checker ();

open my $module, '<', $POD or die "$POD: $!\n";
my $pod = do { local $/; <$module> };

# The indented lines after a heading, up to the next text.
sub example {
    my ($heading) = @_;
    $pod =~ /^=head\d \Q$heading\E\n(?:\n|(?!=)\S.*\n)*((?:[ ]{4}.*\n|\n)+)/m or die "$heading\n";
    return $1;
}

my $synopsis = example('SYNOPSIS');
my ($printed) = $synopsis =~ /printf .*# (\S+)/;
is_deeply [perl($synopsis)], ["$printed\n", 0], 'the synopsis prints what it says';

my $use = 'use strict; use warnings; use KestrixDispEngine;';
my $converter = example('THE CONVERTER');
is_deeply [perl("$use $converter; printf '%v02X', \$codes")], ['1B.74.00.84', 0],
    'the converter example converts';
my $statuses = $converter;
$statuses =~ s/(\$class->RuvoGetOutputData.*?);(\s*# (-?\d+))/is \$_, $3 for $1;$2/g;
is_deeply [perl("$use use Test::More; $statuses; done_testing")], ["ok 1\nok 2\n1..2\n", 0],
    'with the status codes that it names';

my ($assignments) = $pod =~ /\n((?:    \$second->.*\n)+)/;
my $engines = "my (\$first, \$second) = map { ${CLASS}->new } 1, 2;";
is_deeply [perl("$use $engines $assignments print 'done'")], ['done', 0], 'maps are assigned';

my $subclass = example('Subclasses');
my $greeters = <<'SCRIPT';
my ($one, $two) = map { Greeter->new($_) } 'Hi', 'Hello';
print map { substr $_->greet, -2 } $one, $two;
undef $_ for $one, $two;
print scalar(%greeting), scalar(%KestrixDispEngine::KestrixDispEngine::OWNER);
SCRIPT
is_deeply [perl("$use $subclass $greeters")], ['Hilo00', 0],
    'objects of the subclass have data of their own, and leave none';

my $checker = Pod::Checker->new;
open my $null, '>', \my $report;
$checker->parse_from_file($POD, $null);
is $checker->num_errors + $checker->num_warnings, 0, 'the POD is well-formed' or diag $report;

done_testing;
