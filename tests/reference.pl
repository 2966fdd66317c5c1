#!/usr/bin/perl
# Compares README.md with the code: its tables of elements, functions and status codes with the headers
# and the program's texts. Puts its C++, C and Perl into programs, whose output must be that of
# kestrix-disp. The schema of display documents must have the same elements as the README.
#
#   tests/reference.pl BUILD
use strict;
use warnings;
use Cwd 'abs_path';
use File::Basename 'dirname';
use File::Temp 'tempdir';

my $build = abs_path($ARGV[0]);
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
my $schema   = text('docs/ovix-display.rnc');
for (['elements', 0, 'TAG', 'element'], ['attributes', 1, 'ATTR', 'attribute']) {
    my ($what, $column, $prefix, $keyword) = @$_;
    # Window's "reset" has no effect, so nobody needs to write it.
    my @names = grep { "$prefix $_" ne 'ATTR reset' } $headers =~ / ${prefix}_[A-Z]+\[\] = "(.*)";/g;
    same($what, [quoted(map { $_->[$column] } @elements)], \@names);
    same("$what, as in the schema,", [$schema =~ /\b$keyword ([\w-]+) \{/g], \@names);
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

my $work = tempdir(CLEANUP => 1);
my $root = abs_path('.');
my %snippet = $readme =~ /^```(cpp|c|perl)\n(.*?)^```/msg;

# A program of a snippet: its includes, and the rest of it in a main function.
sub program {
    my ($language, $before, $after) = @_;
    my ($includes, $rest) = $snippet{$language} =~ /^((?:#include[^\n]*\n)*)(.*)/s;
    my $name = "$work/" . ($language eq 'c' ? 'c.c' : 'cpp.cpp');
    open my $out, '>', $name or die "$name: $!";
    print $out "$includes$before$rest$after";
    close $out or die;
    system($language eq 'c' ? qw(cc -std=c11) : qw(c++ -std=c++17), qw(-Wall -Wextra -Werror), "-I$root",
        $name, '-o', "$work/$language", "-L$build", '-lkestrixdispengine', "-Wl,-rpath,$build") == 0
        or die "does not compile: the $language of README.md\n";
}

# The escapes in the document mean the same in C++, Perl and printf.
my $document = '<a><clear/><text>caf\303\251 \342\202\254</text></a>';
program('cpp', qq(#include <cstdio>\nint main()\n{\nconst std::string document = "$document";\n),
    "std::fwrite(bytes.data(), 1, bytes.size(), stdout);\n}\n");
program('c', "#include <stdio.h>\nint main(void)\n{\nunsigned char buffer[100];\n",
    "fwrite(buffer, 1, length, stdout);\n}\n");
open my $perl, '>', "$work/perl" or die;
print $perl qq{my \$document = "$document";\n$snippet{perl}print \$bytes;\n};
close $perl or die;

chdir "$build/profile" or die;
sub rendered { return qx(printf '$_[0]' | ../kestrix-disp render - --raw) }
my $bytes     = rendered($document);
my $converted = rendered('<a><text>Caf\303\251</text></a>') =~ s/^\x1F\x72\x00//r;
for (['cpp', $bytes, "$work/cpp"], ['c', $converted, "$work/c"], ['perl', $bytes, $^X, '-I../perl', "$work/perl"]) {
    my ($language, $expected, @command) = @$_;
    open my $run, '-|', @command or die "@command: $!";
    my $actual = do { local $/; <$run> } // '';
    next if $actual eq $expected && length $actual > 6;
    $failed = 1;
    print STDERR "the $language of README.md gives ", unpack('H*', $actual), ', not ', unpack('H*', $expected), "\n";
}
exit $failed;
