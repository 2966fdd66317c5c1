# The converter's functions with memory that a script makes.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;

# Memory.
for my $string ('', 'text', "\0a\0", join '', map { chr } 0 .. 255) {
    my $memory = bytes($string);
    is $memory->bytes,  $string,        length($string) . ' bytes';
    is $memory->length, length $string, 'their length';
    ok $memory->isa('_p_unsigned_char'), 'a wrapped unsigned char *';
}
my $wide = bytes("\x{20AC}");
is $wide->bytes, "\xE2\x82\xAC", 'the bytes of a string in UTF-8';
ok !utf8::is_utf8($wide->bytes), 'as bytes';
is(KestrixDispEngine::Bytes->room(3)->bytes, "\0\0\0", 'room');
my $number = number(7);
ok $number->isa('_p_unsigned_long'), 'a wrapped unsigned long *';
$number->set(~0);
is $number->value, ~0, 'set';

for (
    ['Number', 'new',  -1,    'OverflowError', ", argument 2 of type 'unsigned long'"],
    ['Number', 'new',  'x',   'TypeError',     ", argument 2 of type 'unsigned long'"],
    ['Bytes',  'new',  undef, 'TypeError',     ", argument 2 of type 'std::string'"],
    (map { ['Bytes', 'room', $_, 'MemoryError', ''] } ~0, ~0 - 15, 2**62),
    )
{
    my ($class, $method, $argument, $kind, $place) = @$_;
    is eval { "KestrixDispEngine::$class"->$method($argument); 'lives' } // $@,
        "$kind in method '${class}::$method'$place\n", "$class, $method: $kind";
}
for (undef, 'x', $number, wrapped('_p_unsigned_char', 1), wrapped('KestrixDispEngine::Bytes', 1),
    bless([], 'KestrixDispEngine::Bytes'))
{
    is eval { KestrixDispEngine::Bytes::bytes($_) } // $@,
        "TypeError in method 'Bytes::bytes', argument 1 of type 'KestrixDispEngine::Bytes'\n",
        'no bytes of ' . (ref || $_ // 'undef');
}
my $reblessed = bless bytes('abc'), 'KestrixDispEngine::Number';
like eval { $reblessed->value } // $@, qr/^TypeError /, 'three bytes are no number';

# As functions, as methods of the class, and of an engine.
my $engine = newEngine();
for my $way (
    ['low-level functions', sub { my $name = shift; return call("KestrixDispEngine_$name", @_) }],
    ['functions',           sub { my $name = shift; return $CLASS->can($name)->(@_) }],
    ['class methods',       sub { my $name = shift; return $CLASS->$name(@_) }],
    ['methods',             sub { my $name = shift; return $engine->$name(@_) }],
    )
{
    my ($what, $ruvo) = @$way;
    my $handle = $ruvo->('RuvoOpenHandle', map { $_, $_->length } map { bytes($_) } @DEVICE);
    cmp_ok $handle, '>', 0, "$what: a handle";

    my $text = bytes("a\xC3\xA9");
    is $ruvo->('RuvoSetData', $handle, $text, $text->length), 0, 'text in';
    my $length = number(0);
    is $ruvo->('RuvoGetOutputData', $handle, undef, $length), -40, 'how long is it';
    is $length->value, 5, 'as long as this';
    my $room = KestrixDispEngine::Bytes->room($length->value);
    is $ruvo->('RuvoGetOutputData', $handle, $room, $length), 0, 'codes out';
    is $room->bytes, "\x1Bt\0a\x82", 'which are these';

    is $ruvo->('RuvoCloseHandle', $handle), 0, 'closed';
    is $ruvo->('RuvoCloseHandle', $handle), -10, 'and not again';
    is $ruvo->('getUCHandle'), 0, 'the current handle';
}
my $usage = "RuntimeError Usage: KestrixDispEngine_RuvoCloseHandle(sHandle);\n";
is eval { $_->() } // $@, $usage, 'one argument, but for the method\'s'
    for sub { $CLASS->can('RuvoCloseHandle')->(1, 2) }, sub { $engine->RuvoCloseHandle };

# Memory lives as long as what points to it, also in the middle of a call.
{   package Dropping;
    sub TIESCALAR { return bless $_[1], $_[0] }
    sub FETCH     { return $_[0]->() }
}
my $handle = $engine->RuvoOpenHandle(map { $_, $_->length } map { bytes($_) } @DEVICE);
my @holder = (bytes('b' x 100_000));
tie my $length, 'Dropping', sub { @holder = (); return 100_000 };
is call('KestrixDispEngine_RuvoSetData', $handle, $holder[0], $length), 0, 'dropped before its use';
my $output = number(100_003);
my $codes = KestrixDispEngine::Bytes->room($output->value);
$engine->RuvoGetOutputData($handle, $codes, $output);
is $codes->bytes, "\x1Bt\0" . 'b' x 100_000, 'and still there';

done_testing;
