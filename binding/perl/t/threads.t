# Interpreters that are clones, and interpreters of their own, beside the first one.
use Config;
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;
BEGIN { plan skip_all => 'this perl has no threads' if !$Config{useithreads} }
use threads;
use threads::shared;

sub in_thread { return threads->create({context => 'list'}, @_)->join }

our $engine = newEngine();
my $inner = tied %$engine;
my $map   = $engine->{funcMapBegin};
my $bytes = KestrixDispEngine::Bytes->new('text');
is $engine->parse($CLEAR, @DEVICE), "\x0C", 'the engine works';
my $handle = $engine->getUCHandle;

is_deeply [in_thread(sub {
    undef $bytes;
    my @owned = keys %KestrixDispEngine::KestrixDispEngine::OWNER;
    return (ref $engine, defined $$engine, ref $inner, scalar @owned);
})], ['SCALAR', !!0, 'SCALAR', 0], 'a thread has no engine and owns none';
is $engine->parse($CLEAR, @DEVICE), "\x0C", 'the engine works after the end of a thread';
is $engine->getUCHandle, $handle, 'with the device that it had';

is_deeply [in_thread(sub {
    my $own = newEngine();
    my @results = ($bytes->bytes, $own->hasParser('text', $map),
        $own->parse($CLEAR, @DEVICE), $own->getUCHandle == $handle,
        $KestrixDispEnginec::KestrixDispEngine_TAG_CLOCK,
        failure('KestrixDispEngine_parse', 'x', 1, 2, 3));
    $KestrixDispEnginec::KestrixDispEngine_ucHandle = 123;
    push @results, eval { $KestrixDispEnginec::KestrixDispEngine_TAG_CLOCK = 1; 1 } // $@;
    return @results;
})], ['text', 1, "\x0C", !!0, 'clock',
    "TypeError in method 'KestrixDispEngine_parse', argument 1 of type 'KestrixDispEngine *'\n",
    "Value is read-only.\n"], 'a thread with an engine of its own';
is $engine->getUCHandle, 123, 'the current handle is one for all';

# An engine that a thread returns dies with the thread.
my ($returned) = in_thread(sub { return newEngine() });
my $fresh = newEngine();
like failure('KestrixDispEngine_funcMapEnd_get', $returned), qr/^TypeError .* argument 1 /,
    'an engine does not leave its thread';
undef $returned;
is $fresh->parse($CLEAR, @DEVICE), "\x0C", 'nor harms others';

# Classes that insist on being cloned.
{   package Cloned;
    our @ISA = ($KestrixTest::CLASS);
    sub CLONE_SKIP { return 0 }
}
{
    no warnings 'redefine';
    local *KestrixDispEngine::KestrixDispEngine::CLONE_SKIP = sub { 0 };
    my $shared = Cloned->new;
    is_deeply [in_thread(sub { return (ref $shared, ref tied %$shared) })], ['Cloned', $CLASS],
        'a cloned engine';
    is $shared->parse($CLEAR, @DEVICE), "\x0C", 'is not destroyed by the clone';
}

# A thread that outlives what it was cloned with.
my $gone : shared = 0;
my $thread = threads->create(sub {
    lock $gone;
    cond_wait $gone until $gone;
    return $bytes->bytes;
});
{
    undef $bytes;
    lock $gone;
    $gone = 1;
    cond_signal $gone;
}
is $thread->join, 'text', 'memory outlives its first owner';

# The module loaded in a thread only, several times.
is_deeply [perl(<<'SCRIPT')], ['1110', 0], 'booted once in each interpreter';
use threads;
for (1 .. 3) {
    print threads->create(sub {
        require KestrixDispEngine;
        my $engine = KestrixDispEngine::KestrixDispEngine->new;
        my $name = $KestrixDispEnginec::KestrixDispEngine_TAG_TEXT;
        return $engine->hasParser($name, $engine->{funcMapBegin});
    })->join;
}
require KestrixDispEngine;
print KestrixDispEngine::KestrixDispEngine::getUCHandle();
SCRIPT

# Booted twice in one.
is_deeply [perl(<<'SCRIPT')], ['15', 0], 'booted again without harm';
use KestrixDispEngine;
XSLoader::load('KestrixDispEngine');
require DynaLoader;
my ($file) = grep { /KestrixDispEngine/ } @DynaLoader::dl_shared_objects;
my $symbol = DynaLoader::dl_find_symbol(DynaLoader::dl_load_file($file), 'boot_KestrixDispEngine');
print DynaLoader::dl_install_xsub('KestrixDispEngine::again', $symbol)->('KestrixDispEngine');
$KestrixDispEnginec::KestrixDispEngine_ucHandle = 5;
print KestrixDispEngine::KestrixDispEngine->getUCHandle;
SCRIPT

done_testing;
