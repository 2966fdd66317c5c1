#!/usr/bin/perl
# Compares README.md with the code: its tables of elements, functions and status codes with the headers
# and the program's texts, and its lines of programs with the programs that the tests "tills" and
# "consumer" run.
use strict;
use warnings;
use File::Basename 'dirname';

chdir dirname(__FILE__) . '/..' or die;
my $failed = 0;

sub text {
    return join '', map { open my $in, '<', $_ or die "$_: $!"; local $/; <$in> } @_;
}

sub same {
    my ($what, $actual, $expected) = @_;
    my ($left, $right) = map { my %set = map { $_ => 1 } @$_; join "\n", sort keys %set } $actual, $expected;
    return if $left eq $right && @$expected > 5;
    $failed = 1;
    print STDERR "$what in the reference:\n$left\nand in the code:\n$right\n\n";
}

my $readme = text('README.md');

# The rows of the table whose first heading is this word, as lists of cells.
sub rows {
    my ($body) = $readme =~ /^\| $_[0] \|.*\n\|[-|]+\n((?:\|.*\n)+)/m or die "README.md has no table: $_[0]";
    return map { [/\|([^|]*)(?=\|)/g] } split /\n/, $body;
}

sub quoted { return map { /`(\w[\w-]*)`/g } @_ }

my $headers = text(glob('engine/*.h tags/*.h'));
my @elements = rows('element');
for (['elements', 0, 'TAG'], ['attributes', 1, 'ATTR']) {
    my ($what, $column, $prefix) = @$_;
    # Window's "reset" has no effect, so nobody needs to write it.
    my @names = grep { "$prefix $_" ne 'ATTR reset' } $headers =~ / ${prefix}_[A-Z]+\[\] = "(.*)";/g;
    same($what, [quoted(map { $_->[$column] } @elements)], \@names);
}

my $converter = text('converter/RuvoConverter.h');
same('functions', [quoted(map { $_->[0] } rows('function'))], [$converter =~ /^RUVO_API short (\w+)/mg]);

my %number = $converter =~ /(RUVO_\w+) = (-?\d+)/g;
my @texts;
my $texts = text('base/StatusText.h');
while ($texts =~ /\{(RUVO_\w+), "((?:\\.|[^"\\])*)"\}/g) {
    push @texts, "$number{$1} " . $2 =~ s/\\//gr;
}
same('status codes', [map { "@$_" =~ s/^ +| +$|;.*//gr =~ s/ +/ /gr } rows('status')], \@texts);

my ($pod) = text('binding/perl/KestrixDispEngine.pm') =~ /^__END__(.*)/ms;
same('status codes, as in the manual of the Perl module,',
    [map { /-\d+/g } $pod =~ /^    (-\d+(?:, -\d+)*) {3}/mg], [grep { $_ < 0 } values %number]);

my %suffix = (c => 'c', cpp => 'cpp', perl => 'pl', python => 'py', lua => 'lua');
for my $language (sort keys %suffix) {
    my $programs = text(glob "examples/till/*.$suffix{$language} tests/consumer/*.$suffix{$language}") =~ s/^ +//gmr;
    my @snippets = $readme =~ /^```$language\n(.*?)^```$/gms or die "README.md has no $language\n";
    for my $snippet (grep { index($programs, s/^ +//gmr) < 0 } @snippets) {
        $failed = 1;
        print STDERR "no program has these lines of README.md:\n$snippet";
    }
}
exit $failed;
