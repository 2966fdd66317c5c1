# Which arguments the low-level functions take, and what they say about others.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;
use Symbol ();

my $PARSERS = '_p_std__mapT_char_const_p_TagParser_p_compare_t';
my $HANDLES = '_p_std__mapT_std__string_const_short_t';
my $SELF    = 'KestrixDispEngine *';
my $MAP     = 'std::map< char const *,TagParser *,compare >';
my $HANDLE_MAP = 'std::map< std::string const,short >';

# The functions, as the module's documentation lists them.
open my $module, '<', $POD or die "$POD: $!\n";
my @functions = map { s/^ {4}| |\n//gr } grep { /^ {4}\w+_\w+\(.*\)$/ } <$module>;
is_deeply [sort map { /(\w+)/ } @functions],
    [sort grep { defined &{"KestrixDispEnginec::$_"} } keys %KestrixDispEnginec::], 'functions';

my %type = (
    self => $SELF, key => 'char *', funcMap => "$MAP &", ucHandleMap => $HANDLE_MAP,
    sHandle => 'short', pulLength => 'unsigned long *',
    (map { $_ => $MAP } qw(funcMapBegin funcMapEnd)),
    (map { $_ => 'std::string' } qw(data devInfo setting)),
    (map { $_ => 'unsigned char *' } qw(pucDeviceInfo pucID pucData pucPrintData)),
    (map { $_ => 'unsigned long' } qw(ulDeviceInfoLength ulIDLength ulDataLength)),
);
my $engine  = newEngine();
my $address = ${tied %$engine};
my %good = (
    $SELF => $engine, $HANDLE_MAP => $engine->{ucHandleMap},
    (map { $_ => $engine->{funcMapBegin} } $MAP, "$MAP &"),
    (map { $_ => 'text' } 'std::string', 'char *'), (map { $_ => 0 } 'short', 'unsigned long'),
);

{ package Unrelated; use overload '==' => sub { 1 } }
{ package OtherTie; sub TIEHASH { return $_[1] || bless \my $number, $_[0] } }
sub tied_to { tie my %hash, 'OtherTie', @_; return \%hash }

my @references  = ([1], \'text', sub { 1 }, bless {}, 'Unrelated');
my @no_pointers = (@references, 'text', 5, '', $address, $CLASS, wrapped('Unrelated', $address));
my @no_numbers  =
    (@references, undef, '', 'abc', '12abc', '1 2', '0x10', 3.5, '3.5', 'nan', 'inf x', "5\0");
my %bad = (
    $SELF => {TypeError => [
        @no_pointers, undef, $engine->{funcMapBegin}, tied_to(tied %$engine),
        (map { wrapped($CLASS, $_) } 0, 'text', undef, \$address, $address + 8),
        (map { bless $_, $CLASS } [$address], sub { $address }, Symbol::gensym(), {}, tied_to()),
        bless(tied_to(tied %$engine), 'Unrelated'),
    ]},
    'std::string' => {TypeError => [@references, undef, $engine, wrapped('_p_char', 0)]},
    'char *'      => {TypeError => [@references, wrapped('_p_char', 'text')]},
    $MAP          => {
        TypeError => [@no_pointers, $engine, $engine->{ucHandleMap},
            map { wrapped($PARSERS, $_) } 'text', $address + 1],
        ValueError => [undef, wrapped($PARSERS, 0)],
    },
    $HANDLE_MAP => {
        TypeError  => [@no_pointers, $engine->{funcMapEnd}, wrapped($HANDLES, $address)],
        ValueError => [undef, wrapped($HANDLES, 0)],
    },
    short => {
        TypeError     => \@no_numbers,
        OverflowError => [70000, '70000', 2**40, 32768, 32768.0, -32769, '-32769', 9**9**9, '-inf'],
    },
    'unsigned long' => {
        TypeError     => \@no_numbers,
        OverflowError => [-1, '-1', -1.0, 2**64, '18446744073709551616', 1e30, 9**9**9],
    },
    'unsigned char *' => {TypeError =>
        [@no_pointers, wrapped('_p_unsigned_long', 0), wrapped('_p_unsigned_char', 'text')]},
    'unsigned long *' => {TypeError =>
        [@no_pointers, wrapped('_p_unsigned_char', 0), wrapped('_p_unsigned_long', 'text')]},
);
$bad{"$MAP &"} = $bad{$MAP};

for my $function (@functions) {
    my ($name, @parameters) = $function =~ /\w+/g;
    my @types     = @type{@parameters};
    my @arguments = @good{@types};
    my $usage     = "RuntimeError Usage: $function;\n";
    is failure($name, @arguments, undef), $usage, "$name: an argument too many";
    is failure($name, @arguments[1 .. $#arguments]), $usage, "$name: one too few" if @arguments;

    for my $index (0 .. $#types) {
        for my $kind (sort keys %{$bad{$types[$index]}}) {
            my $null = $kind eq 'ValueError' ? 'invalid null reference ' : '';
            my $message = "$kind ${null}in method '$name', argument " . ($index + 1)
                . " of type '$types[$index]'\n";
            for my $value (@{$bad{$types[$index]}{$kind}}) {
                my $what = ref $value || ($value // 'undef');
                my @with = (@arguments[0 .. $index - 1], $value);
                is failure($name, @with, @arguments[$index + 1 .. $#types]), $message,
                    "$name: $what at index $index";
                is failure($name, @with, (*STDOUT{IO}) x ($#types - $index)), $message,
                    'and of wrong arguments the first is named';
            }
        }
    }
}
is $engine->parse($CLEAR, @DEVICE), "\x0C", 'the engine has survived and works';

{   package Counter;
    our $fetches = 0;
    sub TIESCALAR { return bless [$_[1]], $_[0] }
    sub FETCH     { $fetches++; return $_[0][0] }
}
tie my $counted, 'Counter', 'text';
failure('KestrixDispEngine_parse', undef, $counted, $counted, $counted);
is $Counter::fetches, 0, 'arguments after a wrong one are not read';

# Anything that is an engine is taken.
{ package Sub; our @ISA = ($KestrixTest::CLASS) }
my $of_subclass = Sub->new;
is ref $of_subclass, 'Sub', 'a subclass makes its objects';
is ref $of_subclass->new, 'Sub', 'and so do they';
tie my $in_tied, 'Counter', $engine;
my @selves = ($engine, tied %$engine, $of_subclass, wrapped($CLASS, "$address"), wrapped('Sub', $address));
is ref call('KestrixDispEngine_funcMapBegin_get', $_), $PARSERS, ref . ' as self' for @selves, $in_tied;

# A null pointer is the converter's to judge.
my $handle = $engine->getUCHandle;
for (
    ['KestrixDispEngine_RuvoOpenHandle', undef,                           1, undef, 1],
    ['KestrixDispEngine_RuvoOpenHandle', wrapped('_p_unsigned_char', 0), 1, undef, 1],
    ['KestrixDispEngine_RuvoSetData',       $handle, undef, 1],
    ['KestrixDispEngine_RuvoGetOutputData', $handle, undef, undef],
    )
{
    is call(@$_), -20, "$$_[0] with a null pointer";
}

my $name = 'marquee';
my $pointer = wrapped('_p_char', unpack 'J', pack 'p', $name);
ok $engine->hasParser($_, $engine->{funcMapBegin}), 'a parser' for 'window', "window\0x", $pointer;
is $engine->hasParser($_, $engine->{funcMapBegin}), !!0, 'no parser'
    for undef, wrapped('_p_char', 0), 'windo';

# The messages, where scripts look for them.
{
    my $seen;
    local $SIG{__DIE__} = sub { $seen = "$_[0]|$@" };
    eval { $CLASS->new(1) };
    my $usage = "RuntimeError Usage: new_KestrixDispEngine();\n";
    is $seen, "$usage|$usage", 'a __DIE__ handler sees the message, and $@ set';
}

done_testing;
