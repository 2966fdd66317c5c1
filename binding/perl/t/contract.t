# Which arguments the low-level functions take, and what they say about others.
use strict;
use warnings;

use FindBin;
use lib $FindBin::Bin;
use KestrixTest;
use Symbol ();
use Test::More;

my $PARSERS = '_p_std__mapT_char_const_p_TagParser_p_compare_t';
my $HANDLES = '_p_std__mapT_std__string_const_short_t';
my $SELF    = 'KestrixDispEngine *';
my $MAP     = 'std::map< char const *,TagParser *,compare >';
my $HANDLE_MAP = 'std::map< std::string const,short >';

# Name, parameters, types.
my @functions = (
    ['new_KestrixDispEngine', ''],
    ['delete_KestrixDispEngine',           'self', $SELF],
    ['KestrixDispEngine_parse',            'self,data,devInfo,setting', $SELF, ('std::string') x 3],
    ['KestrixDispEngine_getUCHandle',      ''],
    ['KestrixDispEngine_hasParser',        'self,key,funcMap',  $SELF, 'char *', "$MAP &"],
    ['KestrixDispEngine_funcMapBegin_set', 'self,funcMapBegin', $SELF, $MAP],
    ['KestrixDispEngine_funcMapBegin_get', 'self',              $SELF],
    ['KestrixDispEngine_funcMapEnd_set',   'self,funcMapEnd',   $SELF, $MAP],
    ['KestrixDispEngine_funcMapEnd_get',   'self',              $SELF],
    ['KestrixDispEngine_ucHandleMap_set',  'self,ucHandleMap',  $SELF, $HANDLE_MAP],
    ['KestrixDispEngine_ucHandleMap_get',  'self',              $SELF],
    [   'KestrixDispEngine_RuvoOpenHandle', 'pucDeviceInfo,ulDeviceInfoLength,pucID,ulIDLength',
        ('unsigned char *', 'unsigned long') x 2
    ],
    ['KestrixDispEngine_RuvoCloseHandle', 'sHandle',         'short'],
    [   'KestrixDispEngine_RuvoSetData', 'sHandle,pucData,ulDataLength',
        'short', 'unsigned char *', 'unsigned long'
    ],
    [   'KestrixDispEngine_RuvoGetOutputData', 'sHandle,pucPrintData,pulLength',
        'short', 'unsigned char *', 'unsigned long *'
    ],
);

my $engine = newEngine();

my %good = (
    $SELF             => $engine,
    'std::string'     => 'text',
    'char *'          => 'text',
    $MAP              => $engine->{funcMapBegin},
    "$MAP &"          => $engine->{funcMapBegin},
    'short'           => 0,
    'unsigned char *' => undef,
    'unsigned long'   => 0,
    'unsigned long *' => undef,
    $HANDLE_MAP       => $engine->{ucHandleMap},
);

{ package Unrelated; use overload '==' => sub { 1 } }
{ package OtherTie; sub TIEHASH { return $_[1] || bless \my $number, $_[0] } }

tie my %tied_to_other, 'OtherTie';
my %plain    = (a => 1);
tie my %tied_to_engine, 'OtherTie', tied %$engine;
tie my %not_blessed,    'OtherTie', tied %$engine;
my @plain    = (1);
my $address  = ${tied %$engine};

my @references = (
    ['array reference',  [1]],
    ['scalar reference', \'text'],
    ['code reference',   sub { 1 }],
    ['unrelated object', bless {}, 'Unrelated'],
);
my @no_pointers = (
    @references,
    ['string', 'text'], ['number', 5], ['empty string', ''],
    ['address', $address], ['package name', $CLASS],
    ['pointer of unrelated package', wrapped('Unrelated', $address)],
);
my @no_numbers = (
    @references,
    map { [defined $_ ? "\"$_\"" : 'undef', $_] }
        undef, '', 'abc', '12abc', '1 2', '0x10', 3.5, '3.5', 'nan', "5\0"
);
sub too_large { return map { ["too large $_", $_, 'OverflowError'] } @_ }

my %bad = (
    $SELF => [
        @no_pointers,
        ['undef',                  undef],
        ['wrapped zero',           wrapped($CLASS, 0)],
        ['wrapped text',           wrapped($CLASS, 'text')],
        ['wrapped undef',          wrapped($CLASS, undef)],
        ['wrapped reference',      wrapped($CLASS, \$address)],
        ['address of no engine',   wrapped($CLASS, $address + 8)],
        ['array of the class',     bless([$address], $CLASS)],
        ['code of the class',      bless(sub { $address }, $CLASS)],
        ['glob of the class',      bless(Symbol::gensym(), $CLASS)],
        ['hash that is not tied',  bless(\%plain, $CLASS)],
        ['hash tied to others',    bless(\%tied_to_other, $CLASS)],
        ['hash of another class',  bless(\%tied_to_engine, 'Unrelated')],
        ['tied hash, not blessed', \%not_blessed],
        ['map pointer',            $engine->{funcMapBegin}],
    ],
    'std::string' => [
        @references,
        ['undef',  undef],
        ['engine', $engine],
        ['char *', wrapped('_p_char', 0)],
    ],
    'char *'      => [@references, ['wrapped text', wrapped('_p_char', 'text')]],
    $MAP          => [
        @no_pointers,
        ['undef',                 undef,                'ValueError'],
        ['null',                  wrapped($PARSERS, 0), 'ValueError'],
        ['wrapped text',          wrapped($PARSERS, 'text')],
        ['map of no engine',      wrapped($PARSERS, $address + 1)],
        ['map of the other type', $engine->{ucHandleMap}],
        ['engine',                $engine],
    ],
    $HANDLE_MAP => [
        @no_pointers,
        ['undef',                 undef,                'ValueError'],
        ['null',                  wrapped($HANDLES, 0), 'ValueError'],
        ['map of no engine',      wrapped($HANDLES, $address)],
        ['map of the other type', $engine->{funcMapEnd}],
    ],
    'short' => [
        @no_numbers,
        too_large(70000, '70000', 2**40, 32768, -32769, '-32769', 9**9**9, '-inf'),
    ],
    'unsigned long' =>
        [@no_numbers, too_large(-1, '-1', -1.0, 2**64, '18446744073709551616', 1e30, 9**9**9)],
    'unsigned char *' =>
        [@no_pointers, ['unsigned long *', wrapped('_p_unsigned_long', 0)],
         ['wrapped text', wrapped('_p_unsigned_char', 'text')]],
    'unsigned long *' =>
        [@no_pointers, ['unsigned char *', wrapped('_p_unsigned_char', 0)],
         ['wrapped text', wrapped('_p_unsigned_long', 'text')]],
);
$bad{"$MAP &"} = $bad{$MAP};

for (@functions) {
    my ($name, $parameters, @types) = @$_;
    my @arguments = @good{@types};
    my $usage     = "RuntimeError Usage: $name($parameters);\n";
    is failure($name, @arguments, undef), $usage, "$name: an argument too many";
    is failure($name, @arguments[1 .. $#arguments]), $usage, "$name: one too few" if @arguments;

    for my $index (0 .. $#types) {
        my $place = sprintf "in method '$name', argument %d of type '$types[$index]'\n", $index + 1;
        for (@{$bad{$types[$index]}}) {
            my ($what, $value, $kind) = (@$_, 'TypeError');
            my $null = $kind eq 'ValueError' ? 'invalid null reference ' : '';
            my @with = @arguments;
            $with[$index] = $value;
            is failure($name, @with), "$kind $null$place", "$name: $what at index $index";

            # All later ones are wrong as well: the first one is named.
            @with[$index .. $#with] = ($value, (*STDOUT{IO}) x ($#with - $index));
            is failure($name, @with), "$kind $null$place", "$name: and only that is named"
                if $index < $#with;
        }
    }
}

is ref $engine, $CLASS, 'the engine has survived';
is $engine->parse($CLEAR, @DEVICE), "\x0C", 'and works';

{   package Counter;
    our $fetches = 0;
    sub TIESCALAR { return bless [$_[1]], $_[0] }
    sub FETCH     { $fetches++; return $_[0][0] }
}
tie my $counted, 'Counter', 'text';
failure('KestrixDispEngine_parse', undef, $counted, $counted, $counted);
is $Counter::fetches, 0, 'arguments behind a wrong one are not read';

# Anything that is an engine is taken.
{ package Sub; our @ISA = ($KestrixTest::CLASS) }
my $of_subclass = Sub->new;
is ref $of_subclass, 'Sub', 'a subclass makes its objects';
tie my $in_tied, 'Counter', $engine;
for (
    ['the engine',                $engine],
    ['its inner pointer',         tied %$engine],
    ['an object of a subclass',   $of_subclass],
    ['a tied scalar',             $in_tied],
    ['an address as text',        wrapped($CLASS, "$address")],
    ['a pointer of a subclass',   wrapped('Sub', $address)],
    )
{
    my ($what, $value) = @$_;
    is ref call('KestrixDispEngine_funcMapBegin_get', $value), $PARSERS, "$what as self";
}

# A null pointer is the converter's to judge.
is call('KestrixDispEngine_RuvoOpenHandle', undef, 1, undef, 1), -20, 'null device';
is call('KestrixDispEngine_RuvoOpenHandle', wrapped('_p_unsigned_char', 0), 1, undef, 1), -20,
    'null device, wrapped';
my $handle = $engine->getUCHandle;
is call('KestrixDispEngine_RuvoSetData', $handle, undef, 1), -20, 'null text';
is call('KestrixDispEngine_RuvoGetOutputData', $handle, undef, undef), -20, 'null length';

ok $engine->hasParser('window', $engine->{funcMapBegin}), 'a known element';
ok !$engine->hasParser('window', $engine->{funcMapEnd}), 'an unknown one';
ok $engine->hasParser("window\0x", $engine->{funcMapBegin}), 'a name ends at its first NUL';
my $name = 'marquee';
my $pointer = wrapped('_p_char', unpack 'J', pack 'p', $name);
ok $engine->hasParser($pointer, $engine->{funcMapBegin}), 'a wrapped char *';
for (['undef', undef], ['a wrapped null pointer', wrapped('_p_char', 0)]) {
    my ($what, $key) = @$_;
    is $engine->hasParser($key, $engine->{funcMapBegin}), !!0, "no parser for $what";
}

# The messages, where scripts look for them.
{
    my $seen;
    local $SIG{__DIE__} = sub { $seen = "$_[0]|$@" };
    eval { $engine->parse };
    my $usage = "RuntimeError Usage: KestrixDispEngine_parse(self,data,devInfo,setting);\n";
    is $seen, "$usage|$usage", 'a __DIE__ handler sees the message, and $@ set';
}
is eval { $CLASS->new(1) } // $@, "RuntimeError Usage: new_KestrixDispEngine();\n",
    'new with arguments';

use B ();
is B::svref_2object(\&{"KestrixDispEnginec::$functions[$_][0]"})->FILE, 'KestrixDispEngineWrap',
    "source of $functions[$_][0]"
    for 0 .. $#functions;

done_testing;
