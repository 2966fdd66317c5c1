# Strings and numbers: what goes through, and what comes back.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;
use Math::BigInt;

my $engine = newEngine();

# With an engine of its own: an open device remembers the table that it used last.
sub commands { return call('KestrixDispEngine_parse', newEngine(), $_[0], @DEVICE) }

sub text { return "<ovix-display><text>$_[0]</text></ovix-display>" }

# Bytes out.
my $all    = join '', map { sprintf '%02X', $_ } 0 .. 255;
my $result = commands("<ovix-display><command>$all</command></ovix-display>");
is $result, join('', map { chr } 0 .. 255), 'all 256 bytes';
ok !utf8::is_utf8($result), 'without the UTF-8 flag';
is commands(join "\0", "\xFE\xFF", split //, $CLEAR), "\x0C", 'a document with NULs, in UTF-16';

# Strings in. An e with an accent is 82 in the device's first table, the euro sign 80 in another.
utf8::upgrade(my $with_flag = text("\xC3\xA9"));
utf8::upgrade(my $as_utf8 = text("\xE9"));
my $latin1 = qq(<?xml version="1.0" encoding="ISO-8859-1"?>) . text("\xE9");
for (
    ['UTF-8', "\x82", text("\xC3\xA9")], ['Latin-1', "\x82", $latin1],
    ['the UTF-8 that Perl holds', "\x82", $as_utf8], ['the same of others', "\x80", text("\x{20AC}")],
    ['a string that is not decoded', "\x1Bt\x02\xC7\xB8", $with_flag],
    )
{
    my ($what, $end, $document) = @$_;
    like commands($document), qr/\Q$end\E\z/, $what;
}
ok utf8::is_utf8($as_utf8), 'an argument keeps its flag';

call('KestrixDispEngine_parse', $engine, $CLEAR, @DEVICE);
my $handle = $engine->getUCHandle;
is call('KestrixDispEngine_parse', $engine, $CLEAR, "default\0second", 'local'), "\x0C",
    'a device name is opened up to its first NUL';
isnt $engine->getUCHandle, $handle, 'but kept whole';

{ package Text; use overload '""' => sub { ${$_[0]} } }
{ package Number; use overload '0+' => sub { ${$_[0]} } }
{ package Truth; use overload 'bool' => sub { ${$_[0]} } }
{ package Chain; use overload '""' => sub { $_[0] } }
my $clear = $CLEAR;
is commands(bless \$clear, $_), "\x0C", "an object with an operator: $_" for qw(Text Number Truth);
like failure('KestrixDispEngine_parse', $engine, bless([], 'Chain'), @DEVICE),
    qr/^TypeError .* argument 2 /, 'an object that gives itself';
call('KestrixDispEngine_parse', $engine, $CLEAR, 5, 'local');
is $engine->getUCHandle, -200, 'a number is a string, here of no device';

# Magic.
{   package Once;
    our $fetches;
    sub TIESCALAR { return bless $_[1], $_[0] }
    sub FETCH     { $fetches++; return $_[0]->() }
}

my %calls = (
    KestrixDispEngine_parse             => [$engine, $CLEAR, @DEVICE],
    KestrixDispEngine_hasParser         => [$engine, 'text', $engine->{funcMapBegin}],
    KestrixDispEngine_ucHandleMap_set   => [$engine, $engine->{ucHandleMap}],
    KestrixDispEngine_RuvoSetData       => [-5, bytes('text'), 4],
    KestrixDispEngine_RuvoGetOutputData => [-5, undef, number(0)],
);
for my $name (sort keys %calls) {
    my @plain = @{$calls{$name}};
    my @tied  = @plain;
    for my $index (0 .. $#plain) {
        tie $tied[$index], 'Once', sub { $plain[$index] };
    }
    my $expected = call($name, @plain);
    $Once::fetches = 0;
    is call($name, @tied), $expected, "$name with tied scalars";
    is $Once::fetches, @plain, 'each is read once';
}
"($CLEAR)" =~ /\((.*)\)/;
is commands($1), "\x0C", '$1';
my $inside = "x$CLEAR";
is commands(substr $inside, 1), "\x0C", 'a substr lvalue';
my %hash;
like failure('KestrixDispEngine_parse', $engine, $hash{missing}, @DEVICE),
    qr/^TypeError .* argument 2 /, 'a missing element is undef';
ok !exists $hash{missing}, 'and stays missing';

# Code that runs while arguments are converted.
{
    my $document = $CLEAR;
    $document .= "\n"; # a buffer of its own
    tie my $setting, 'Once', sub { substr($document, 0, 5) = 'x' x 5; return 'local' };
    is call('KestrixDispEngine_parse', $engine, $document, 'default', $setting), "\x0C",
        'a document that changes after its conversion';

    my $doomed = newEngine();
    tie my $killer, 'Once', sub { call('delete_KestrixDispEngine', $doomed); return 'local' };
    is failure('KestrixDispEngine_parse', $doomed, $CLEAR, 'default', $killer),
        "TypeError in method 'KestrixDispEngine_parse', argument 1 of type 'KestrixDispEngine *'\n",
        'an engine that is deleted after its conversion';

    my $map_owner = newEngine();
    my $map = $map_owner->{funcMapBegin};
    tie my $name, 'Once', sub { undef $map_owner; return 'text' };
    like failure('KestrixDispEngine_hasParser', $engine, $name, $map),
        qr/^TypeError .* argument 3 /, 'a map that goes before its conversion';

    tie my $dies, 'Once', sub { die "in FETCH\n" };
    is failure('KestrixDispEngine_parse', $engine, $CLEAR, 'default', $dies), "in FETCH\n",
        'an error of its own';
    is commands($CLEAR), "\x0C", 'and all is well afterwards';
}

# Code that drops the last references to arguments while it gives the value of one.
{   package Dropping;
    use overload '0+' => \&drop, '""' => \&drop;
    my @others;
    sub drop {
        my ($value, $arguments) = @{$_[0]};
        delete @$arguments[0 .. $#$arguments];
        @others = map { "other $_" } 1 .. 1000;    # where something was freed
        return $value;
    }
}
{
    my @warnings;
    local $SIG{__WARN__} = sub { push @warnings, @_ };
    my $map = $engine->{funcMapBegin};
    my $deleted = newEngine();

    # Function, result, arguments in front, what the code gives, package of its pointer, the rest.
    for (
        ['KestrixDispEngine_hasParser', 1, [], ${tied %$engine}, $CLASS, 'text', $map],
        ['KestrixDispEngine_hasParser', 1, [$engine, 'text'], $$map, ref $map],
        ['delete_KestrixDispEngine', undef, [], ${tied %$deleted}, $CLASS],
        ['KestrixDispEngine_parse', "\x0C", [newEngine()], $CLEAR, undef, @DEVICE],
        )
    {
        my ($name, $expected, $front, $value, $package, @arguments) = @$_;
        my $object = bless [$value, \@arguments], 'Dropping';
        unshift @arguments, defined $package ? wrapped($package, $object) : $object;
        undef $object;
        my $function = \&{"KestrixDispEnginec::$name"};
        is eval { &$function(@$front, @arguments) } // ($@ || undef), $expected,
            "$name with arguments that go, from number " . @$front;
    }
    is_deeply \@warnings, [], 'and Perl warns of nothing';
}

# Numbers.
for (
    [5, 5], ['5', 5], [3.0, 3], ['3.0', 3], [' 5 ', 5], ['1e2', 100], ['-0', 0], ['007', 7],
    [32767, 32767], [32767.0, 32767], [-32768, -32768], ['-32768', -32768], [-32768.0, -32768],
    [!!1, 1], [Math::BigInt->new(12), 12], [bless(\(my $seven = 7), 'Number'), 7],
    )
{
    my ($value, $expected) = @$_;
    $KestrixDispEnginec::KestrixDispEngine_ucHandle = $value;
    is $engine->getUCHandle, $expected, "$value as short";
}
my $largest = ~0;
for (
    [0, 0], ['0', 0], [$largest, $largest], ["$largest", $largest], [2**63, 1 << 63], ['1e3', 1000],
    ['3.0', 3], [0.0, 0], ['0.0', 0], [Math::BigInt->new("$largest"), $largest],
    )
{
    my ($value, $expected) = @$_;
    is number($value)->value, $expected, "$value as unsigned long";
}

# Results.
is call('KestrixDispEngine_hasParser', $engine, 'x', $engine->{funcMapEnd}), !!0, 'false';
is call('KestrixDispEngine_hasParser', $engine, 'text', $engine->{funcMapBegin}), !!1, 'true';
is_deeply [call('KestrixDispEngine_ucHandleMap_set', $engine, $engine->{ucHandleMap}),
    call('delete_KestrixDispEngine', newEngine())], [undef, undef], 'no result is undef';

done_testing;
