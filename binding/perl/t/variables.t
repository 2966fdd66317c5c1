# The variables: magic scalars over the engine's members.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;

my %read_only = (
    (map { ("TAG_\U$_" => $_) }
        qw(text window reset cursor clear blink brightness marquee clock command)),
    TAG_OVIXD => 'ovix-display', LANG_DEFAULT => 'en', LANG_BUF_LEN => 32, TAG_BUF_LEN => 32,
);
for my $name (sort keys %read_only) {
    no strict 'refs';
    my $variable = \${"KestrixDispEnginec::KestrixDispEngine_$name"};
    is $_, $read_only{$name}, $name for $$variable, ${"${CLASS}::$name"};
    for my $value ('x', "\x{263A}", undef, [], *STDOUT) {
        is eval { $$variable = $value; 'lives' } // $@, "Value is read-only.\n", "$name assigned";
        is $$variable, $read_only{$name}, 'has its value';
        ok !utf8::is_utf8($$variable), 'as bytes';
    }
}
{
    *text = \$KestrixDispEnginec::KestrixDispEngine_TAG_TEXT;
    our $text;
    is eval { local $text = 'x'; 1 } // $@, "Value is read-only.\n", 'local of a read-only one';
    is $text, 'text', 'leaves it as it was';
    local $text;
    is $text, 'text', 'local alone assigns nothing';
    is eval { $text = 'x'; 1 } // $@, "Value is read-only.\n", 'and does not make it writable';
}

*variable = \$KestrixDispEnginec::KestrixDispEngine_ucHandle;
our $variable;
sub handle { return call('KestrixDispEngine_getUCHandle') }

is $variable, 0, 'ucHandle before the first parse';
$variable = 3;
is $_, 3, 'assigned' for handle(), $KestrixDispEngine::KestrixDispEngine::ucHandle;
newEngine()->parse($CLEAR, 'no such device', 'local');
is $variable, -200, 'set by the engine';

$variable = 7;
for (
    (map { ['TypeError', $_] } 'abc', '12abc', undef, 3.5, [], *STDOUT),
    (map { ['OverflowError', $_] } 70000, '-32769', 2**40),
    )
{
    my ($kind, $value) = @$_;
    $@ = '';
    $variable = $value;
    is $@, "$kind in variable 'KestrixDispEngine::ucHandle' of type 'short'\n", 'a bad value';
    is $_, 7, 'changes nothing' for $variable, handle();
}
$@ = 'left alone';
$variable = 8;
$variable++;
{
    local $variable = 11;
    is handle(), 11, 'local';
    local $variable;
    is handle(), 11, 'local without a value';
}
is handle(), 9, 'and back';
is $@, 'left alone', 'good assignments leave $@ alone';

done_testing;
