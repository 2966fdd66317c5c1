# The memory of the process stays as it is, whatever is called how often.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;

{
    open my $maps, '<', '/proc/self/maps' or die "/proc/self/maps: $!\n";
    plan skip_all => 'the address sanitizer keeps freed memory' if grep { /libasan/ } <$maps>;
}

my $engine = newEngine();
my $large  = '<ovix-display><clear/>' . ' ' x 100_000 . '</ovix-display>';
my $marks  = '<ovix-display><text x="1" y="1">' . "\xC3\xA4" x 500 . '</text></ovix-display>';

sub parsing { return failure('KestrixDispEngine_parse', @_) }

# What is done, and how often.
my @work = (
    ['wrong counts',          5000, sub { parsing($engine, $large, $large) }],
    ['wrong last arguments',  5000, sub { parsing($engine, $large, $large, undef) }],
    ['wrong selves',          5000, sub { parsing(undef, $large, $large, $large) }],
    ['numbers out of range', 20000, sub { failure('KestrixDispEngine_RuvoCloseHandle', 70000) }],
    ['null maps',            20000, sub { eval { $engine->hasParser('text', undef) } }],
    ['bad assignments',      20000, sub { $KestrixDispEngine::KestrixDispEngine::ucHandle = 'x' }],
    ['read-only variables',  20000, sub {
        eval { $KestrixDispEngine::KestrixDispEngine::TAG_TEXT = 'x' };
    }],
    ['devices that fail',     2000, sub { $engine->parse($large, 'none', 'local') }],
    ['parses',               20000, sub { $engine->parse($marks, @DEVICE) }],
    ['large documents',       2000, sub { $engine->parse($large, @DEVICE) }],
    ['engines',               2000, sub { newEngine()->{funcMapBegin} }],
    ['engines with devices',    50, sub { newEngine()->parse($CLEAR, @DEVICE) }],
    ['map pointers',         20000, sub { $engine->{ucHandleMap} }],
    ['assigned maps',        20000, sub {
        my $other = newEngine();
        $other->{$_} = $engine->{$_} for qw(funcMapBegin funcMapEnd ucHandleMap);
    }],
    ['memory for bytes',      5000, sub { bytes($large)->bytes }],
    ['memory for numbers',   20000, sub { number(1)->value }],
    ['memory of wrong size', 20000, sub { eval { KestrixDispEngine::Bytes->room(2**62) } }],
);
for (@work) {
    my ($what, $times, $do) = @$_;
    $do->() for 1 .. $times / 10;
    my $before = resident();
    $do->() for 1 .. $times;
    my $growth = resident() - $before;
    cmp_ok $growth, '<', 1000, "$times $what: $growth kB";
}

done_testing;
