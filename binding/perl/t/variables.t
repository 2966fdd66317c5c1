# The variables: magic scalars over the engine's members.
use strict;
use warnings;

use FindBin;
use lib $FindBin::Bin;
use KestrixTest;
use Test::More;

my %read_only = (
    TAG_TEXT       => 'text',
    TAG_OVIXD      => 'ovix-display',
    TAG_WINDOW     => 'window',
    TAG_RESET      => 'reset',
    TAG_CURSOR     => 'cursor',
    TAG_CLEAR      => 'clear',
    TAG_BLINK      => 'blink',
    TAG_BRIGHTNESS => 'brightness',
    TAG_MARQUEE    => 'marquee',
    TAG_CLOCK      => 'clock',
    TAG_COMMAND    => 'command',
    LANG_DEFAULT   => 'en',
    LANG_BUF_LEN   => 32,
    TAG_BUF_LEN    => 32,
);

for my $name (sort keys %read_only) {
    no strict 'refs';
    my $variable = \${"KestrixDispEnginec::KestrixDispEngine_$name"};
    is $$variable, $read_only{$name}, $name;
    is ${"${CLASS}::$name"}, $read_only{$name}, "$name of the class";
    for (
        ['text',        'x'], ['a wide text', "\x{263A}"], ['undef', undef],
        ['a reference', []],  ['a glob',      *STDOUT],
        )
    {
        my ($what, $value) = @$_;
        is eval { $$variable = $value; 'lives' } // $@, "Value is read-only.\n",
            "assigning $what to $name";
        is $$variable, $read_only{$name}, "$name has its value";
        ok !utf8::is_utf8($$variable), 'as bytes';
    }
}
{
    is eval { local $KestrixDispEnginec::KestrixDispEngine_TAG_TEXT = 'x'; 1 } // $@,
        "Value is read-only.\n", 'local of a read-only one';
    is $KestrixDispEnginec::KestrixDispEngine_TAG_TEXT, 'text', 'leaves it as it was';
    local $KestrixDispEnginec::KestrixDispEngine_TAG_TEXT;
    is $KestrixDispEnginec::KestrixDispEngine_TAG_TEXT, 'text', 'local alone assigns nothing';
    is eval { $KestrixDispEnginec::KestrixDispEngine_TAG_TEXT = 'x'; 1 } // $@,
        "Value is read-only.\n", 'and does not make it writable';
}

*variable = \$KestrixDispEnginec::KestrixDispEngine_ucHandle;
our $variable;
sub handle { return call('KestrixDispEngine_getUCHandle') }

is $variable, 0, 'ucHandle before the first parse';
$variable = 3;
is handle(), 3, 'assigned';
is $KestrixDispEngine::KestrixDispEngine::ucHandle, 3, 'in the class as well';
newEngine()->parse($CLEAR, 'no such device', 'local');
is $variable, -200, 'set by the engine';

$variable = 7;
for (
    (map { ['TypeError', $_] } 'abc', '12abc', undef, 3.5, [], *STDOUT),
    (map { ['OverflowError', $_] } 70000, '-32769', 2**40),
    )
{
    my ($kind, $value) = @$_;
    my $what = $value // 'undef';
    $@ = '';
    $variable = $value;
    is $@, "$kind in variable 'KestrixDispEngine::ucHandle' of type 'short'\n", "assigning $what";
    is $variable, 7, 'keeps the variable';
    is handle(), 7, 'and the member';
}
$@ = 'left alone';
$variable = 8;
is $@, 'left alone', 'a good assignment leaves $@ alone';
$variable++;
is handle(), 9, 'incremented';
{
    $@ = '';
    local $variable = 11;
    is handle(), 11, 'local';
    local $variable;
    is handle(), 11, 'local without a value';
    is $@, '', 'is no error';
}
is handle(), 9, 'and back';

done_testing;
