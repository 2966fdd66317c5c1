# Who destroys engines, parsers and converter handles, and when. Under the address sanitizer this
# also finds what is destroyed twice or used afterwards.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;

my $other = newEngine();
my $inner = tied %$other;

# The entries in OWNER, without the other engine's.
sub owned {
    return join ' ', grep { $_ ne "$inner" } keys %KestrixDispEngine::KestrixDispEngine::OWNER;
}

sub dead { return "TypeError in method '$_[0]', argument 1 of type 'KestrixDispEngine *'\n" }

my $document = '<ovix-display><clear/><text x="2" y="3">a</text></ovix-display>';
my $commands = newEngine()->parse($document, @DEVICE);
is length $commands, 12, 'the document has commands';

sub is_open { return call('KestrixDispEngine_RuvoGetOutputData', $_[0], undef, undef) == -20 }

# The entry in OWNER.
{
    my $engine = call('new_KestrixDispEngine');
    my $inner  = tied %$engine;
    is ref, $CLASS, 'an object of the class' for $engine, $inner;
    is owned(), "$inner", 'OWNER has the inner pointer';
    is $KestrixDispEngine::KestrixDispEngine::OWNER{$inner}, 1, 'with the value 1';
    is call('delete_KestrixDispEngine', $engine), undef, 'deleted';
    is owned(), '', 'the entry goes';
    is $$inner, 0, 'and the address, which the next engine may have';
}

# Every way to end an engine ends it, and once.
my %ends = (
    'the last reference goes'        => sub { undef $_[0] },
    'delete'                         => sub { call('delete_KestrixDispEngine', $_[0]) },
    'delete by the inner pointer'    => sub { call('delete_KestrixDispEngine', tied %{$_[0]}) },
    'delete by a read-only pointer'  => sub {
        Internals::SvREADONLY(${tied %{$_[0]}}, 1);
        call('delete_KestrixDispEngine', $_[0]);
    },
    'DESTROY'                        => sub { $_[0]->DESTROY },
    'DESTROY of the inner pointer'   => sub { (tied %{$_[0]})->DESTROY },
    'untie'                          => sub { undef $_[1]; untie %{$_[0]} },
    'undef of the hash'              => sub { undef $_[1]; bless $_[0], 'Elsewhere'; undef $_[0] },
);
for my $end (sort keys %ends) {
    my $engine = newEngine();
    my $inner  = tied %$engine;
    is $engine->parse($document, @DEVICE), $commands, "works before: $end";
    my $handle = $engine->getUCHandle;
    ok is_open($handle), 'its handle is open';
    my $map = $engine->{funcMapBegin};
    $ends{$end}->($engine, $inner);
    is owned(), '', 'the entry has gone';
    ok !is_open($handle), 'the handle is closed';
    for my $self (grep { defined } $engine, $inner) {
        for (['KestrixDispEngine_parse', $document, @DEVICE], ['delete_KestrixDispEngine']) {
            my ($name, @arguments) = @$_;
            is failure($name, $self, @arguments), dead($name), "nothing left for $name";
        }
        next if ref $self ne $CLASS;
        is eval { $self->DESTROY; 'quiet' }, 'quiet', 'DESTROY does nothing more';
    }
    like eval { $other->hasParser('text', $map) } // $@, qr/^TypeError .* argument 3 /,
        'and its map cannot be used';
}

# By a copy of the address: no entry is left that would have the next engine there destroyed with
# an object of this one.
for my $entry ('without', 'with') {
    my $engine = newEngine();
    my $copy   = wrapped($CLASS, ${tied %$engine});
    $KestrixDispEngine::KestrixDispEngine::OWNER{$copy} = 1 if $entry eq 'with';
    call('delete_KestrixDispEngine', $copy);
    is owned(), '', "deleted by a copy $entry an entry of its own: no entry is left";

    # As if the next engine had been made at the address.
    my $next = newEngine();
    ${tied %$engine} = ${tied %$next};
    undef $engine;
    is $next->parse($document, @DEVICE), $commands, 'the next one there outlives the object';
}

# Not Perl's to destroy.
{
    my $engine = newEngine();
    my $copy   = wrapped($CLASS, ${tied %$engine});
    delete $KestrixDispEngine::KestrixDispEngine::OWNER{tied %$engine};
    undef $engine;
    is call('KestrixDispEngine_parse', $copy, $document, @DEVICE), $commands,
        'without its entry it lives on';
    call('delete_KestrixDispEngine', $copy);
}

# Members.
{
    my $engine = newEngine();
    my %low = (
        (map { $_ => '_p_std__mapT_char_const_p_TagParser_p_compare_t' } qw(funcMapBegin funcMapEnd)),
        ucHandleMap => '_p_std__mapT_std__string_const_short_t',
    );
    my %addresses;
    for my $name (sort keys %low) {
        is ref $engine->{$name}, $low{$name}, "pointer to $name";
        is ${$engine->{$name}}, ${call("KestrixDispEngine_${name}_get", $engine)},
            'the same as the low-level one';
        $addresses{${$engine->{$name}}} = 1;
        ok exists $engine->{$name}, 'exists';
    }
    is keys %addresses, 3, 'three members';
    is_deeply [sort keys %$engine], [sort keys %low], 'which are all';
    ok !exists $engine->{other}, 'no other exists';
    for (
        [qr/no member "other"/, sub { $engine->{other} }],
        [qr/no member "other"/, sub { $engine->{other} = 1 }],
        [qr/cannot be deleted/, sub { delete $engine->{funcMapEnd} }],
        [qr/cannot be deleted/, sub { %$engine = () }],
        [qr/^TypeError in .*funcMapBegin_set', argument 2 /, sub { $engine->{funcMapBegin} = 1 }],
        )
    {
        my ($error, $do) = @$_;
        like eval { $do->() } // $@, $error, 'what a member does not take';
    }
}

# Maps of one engine in another.
for my $dies_first ('source', 'target', 'neither') {
    my ($source, $target) = (newEngine(), newEngine());
    $source->parse($document, @DEVICE);
    my $handle = $source->getUCHandle;
    $target->{$_} = $source->{$_} for qw(funcMapBegin funcMapEnd ucHandleMap);
    undef $source if $dies_first eq 'source';
    undef $target if $dies_first eq 'target';
    ok is_open($handle), "a shared handle is open: $dies_first died";
    for my $engine (grep { defined } $source, $target) {
        is $engine->parse($document, @DEVICE), $commands, 'an engine with shared maps works';
        is $engine->getUCHandle, $handle, 'with the shared handle';
    }
    undef $_ for $source, $target;
    ok !is_open($handle), 'closed with the last engine';
}

{
    my ($first, $second) = (newEngine(), newEngine());
    $first->{funcMapBegin} = $first->{funcMapBegin} for 1 .. 3;
    $first->parse($document, @DEVICE);
    my $handle = $first->getUCHandle;
    $first->{ucHandleMap} = $first->{ucHandleMap};
    ok is_open($handle), 'a map assigned to itself stays';

    $second->parse($document, @DEVICE);
    my $replaced = $second->getUCHandle;
    $second->{ucHandleMap} = $first->{ucHandleMap};
    ok !is_open($replaced), 'a handle that is replaced is closed';
    $second->{ucHandleMap} = newEngine()->{ucHandleMap};
    ok is_open($handle), 'but not one that another engine has';

    # Start tags are looked for among the end tags, and the other way round.
    $second->{funcMapBegin} = $first->{funcMapEnd};
    ok !$second->hasParser('text', $second->{funcMapBegin}), 'a map without text';
    is $second->parse($document, @DEVICE), '', 'knows no text';
    $first->{funcMapEnd} = $first->{funcMapBegin};
    undef $second;
    is $first->parse($CLEAR, @DEVICE), "\x0C\x0C", 'one parser in both maps';
    $first->{funcMapEnd} = newEngine()->{funcMapEnd};
    is $first->parse($document, @DEVICE), $commands, 'and again the usual ones';
    is $first->parse('<ovix-display/>', @DEVICE), '', 'with an end';
}

is_deeply [perl(<<'SCRIPT')], ['done', 0], 'the end of a process with engines';
use KestrixDispEngine;
$SIG{__WARN__} = sub { print @_ };
our ($first, $second) = map { KestrixDispEngine::KestrixDispEngine->new } 1 .. 2;
our $cycle = [$first]; push @$cycle, $cycle;
$second->{funcMapBegin} = $first->{funcMapBegin};
our $inner = tied %$second;
print 'done';
SCRIPT

done_testing;
