package KestrixDispEngine;

use strict;
use warnings;

our $VERSION = '@PROJECT_VERSION@';

require XSLoader;
XSLoader::load('KestrixDispEngine', $VERSION);

# Wrapped pointers that own their memory.
{
    package _p_unsigned_char;
    package _p_unsigned_long;
    @KestrixDispEngine::Bytes::ISA  = ('_p_unsigned_char');
    @KestrixDispEngine::Number::ISA = ('_p_unsigned_long');
}

package KestrixDispEngine::KestrixDispEngine;

use strict;
use warnings;

use Carp ();
use Scalar::Util ();

# The inner pointers of the engines that this interpreter has to destroy.
our %OWNER;

sub new {
    my $class = shift;
    return bless KestrixDispEnginec::new_KestrixDispEngine(@_), ref $class || $class;
}

# Runs for the engine's hash, and for the inner pointer when that goes.
sub DESTROY {
    my ($self) = @_;
    my $inner = (Scalar::Util::reftype($self) // '') eq 'HASH' ? tied %$self : $self;
    KestrixDispEnginec::delete_KestrixDispEngine($inner)
        if defined $inner && exists $OWNER{$inner};
    return;
}

# Engines stay in the thread that made them.
sub CLONE_SKIP { return 1 }
sub CLONE      { %OWNER = (); return }

*parse     = \&KestrixDispEnginec::KestrixDispEngine_parse;
*hasParser = \&KestrixDispEnginec::KestrixDispEngine_hasParser;

# The class-wide operations: methods of the class and of engines, and plain functions as well.
{
    no strict 'refs';
    for my $name (
        qw(getUCHandle RuvoOpenHandle RuvoCloseHandle RuvoSetData RuvoGetOutputData))
    {
        my $function = \&{"KestrixDispEnginec::KestrixDispEngine_$name"};
        *$name = sub {
            shift if @_ && UNIVERSAL::isa($_[0], __PACKAGE__);
            goto &$function;
        };
    }
}

# The class-wide variables.
for my $name (
    (map { "TAG_$_" } qw(TEXT OVIXD WINDOW RESET CURSOR CLEAR BLINK BRIGHTNESS MARQUEE CLOCK
        COMMAND BUF_LEN)),
    qw(LANG_DEFAULT LANG_BUF_LEN ucHandle)
    )
{
    no strict 'refs';
    *$name = \${"KestrixDispEnginec::KestrixDispEngine_$name"};
}

# An engine's hash is tied to its inner pointer: these are called with that, to read and assign the
# engine's members.
{
    my @names  = qw(funcMapBegin funcMapEnd ucHandleMap);
    my %member = map {
        no strict 'refs';
        $_ => {
            get => \&{"KestrixDispEnginec::KestrixDispEngine_${_}_get"},
            set => \&{"KestrixDispEnginec::KestrixDispEngine_${_}_set"},
        }
    } @names;
    my $member = sub {
        my ($name) = @_;
        return $member{$name} || Carp::croak("A KestrixDispEngine has no member \"$name\"");
    };

    sub FETCH    { my ($self, $name) = @_; return $member->($name)->{get}->($self) }
    sub STORE    { my ($self, $name, $map) = @_; return $member->($name)->{set}->($self, $map) }
    sub EXISTS   { my ($self, $name) = @_; return exists $member{$name} }
    sub FIRSTKEY { return $names[0] }

    sub NEXTKEY {
        my ($self, $last) = @_;
        my %next;
        @next{@names} = @names[1 .. $#names];
        return $next{$last};
    }
    sub DELETE { Carp::croak('The members of a KestrixDispEngine cannot be deleted') }
    sub CLEAR  { goto &DELETE }
}

1;

__END__

=encoding UTF-8

=head1 NAME

KestrixDispEngine - turn XML display documents into Kestrix display commands

=head1 SYNOPSIS

    use KestrixDispEngine;

    my $engine = KestrixDispEngine::KestrixDispEngine->new;

    my $document = '<ovix-display><clear/><text x="1" y="1">Hello</text></ovix-display>';
    my $commands = $engine->parse($document, 'default', 'DEFAULT');

    die 'The device cannot be opened, status ', $engine->getUCHandle, "\n"
        if $engine->getUCHandle < 0;
    printf "%v02X\n", $commands;    # 0C.1F.24.01.01.1F.72.00.1B.74.00.48.65.6C.6C.6F

=head1 DESCRIPTION

A display document says what the small display that faces the customer is to show. An engine turns
it into the bytes of the commands that make the display show it. Sending them is the script's
business.

=head1 THE ENGINE

The class is C<KestrixDispEngine::KestrixDispEngine>. It can be subclassed, see L</Subclasses>.

=head2 new

    my $engine = KestrixDispEngine::KestrixDispEngine->new;

Makes an engine. It is destroyed, and what it opened is closed, when the last reference to it goes.

=head2 parse

    my $commands = $engine->parse($document, $device, $setting);

Returns the commands for one document, as bytes.

=over

=item $document

The XML text, as bytes in the encoding that it declares, or in UTF-8 if it declares none. A string
that Perl holds in UTF-8, as all with characters above 255, goes in as that UTF-8. To be
independent of how Perl holds a string of characters, give C<Encode::encode('UTF-8', $string)>.

=item $device

The name of the device information file. The first document for a device opens a converter handle,
which reads the device's files; later documents for it use the same handle, until the engine is
destroyed.

=item $setting

The name of the ID file that tells where the device's files are; without such a file they are in
the current directory. Not looked at when the device has its handle already.

=back

The result is empty if the handle cannot be opened. C<getUCHandle> then gives the status, a negative
number, and the next C<parse> tries again. Of a document that is not well-formed XML the commands
up to the error are returned, and the XML library complains on the standard error. C<parse> dies in
neither case.

=head2 getUCHandle

    my $status = $engine->getUCHandle;

The handle of the latest C<parse> in the process, 1 to 254, or the negative status of its failure to
open one. The same number is in the variable C<$KestrixDispEngine::KestrixDispEngine::ucHandle>,
which can be assigned: it is the handle through which texts are converted.

    -20          device or setting empty or too long
    -30          a file exists but cannot be opened
    -50, -60     no free handle; no memory
    -100, -110   HalvoSet.txt is missing; is invalid
    -200, -210   the device information file is missing; is invalid
    -300, -330   a translation table file is missing; is invalid
    -310, -340   an internal character set file is missing; is invalid
    -320         UnicodeData.txt is missing

=head2 hasParser

    my $known = $engine->hasParser('text', $engine->{funcMapBegin});

Whether a map has a parser for the element. It has none for undef.

=head2 Members

    $engine->{funcMapBegin}     element names and parsers, for start tags
    $engine->{funcMapEnd}       element names and parsers, for end tags
    $engine->{ucHandleMap}      devices and their handles

What is read is a pointer to the map in the engine. It is good as long as the engine lives, and does
not keep it alive.

What is assigned is such a pointer; the map is copied:

    $second->{funcMapBegin} = $first->{funcMapBegin};
    $second->{ucHandleMap}  = $first->{ucHandleMap};     # handles that are open already

From then on the parsers or handles in the map belong to both engines, and the last engine that has
them deletes or closes them: when it is destroyed, or when it is assigned another map. Those that an
assignment replaces go at once if no other engine has them.

=head2 Subclasses

An engine's hash is tied: it has the three members and takes no others, so that assigning
C<< $self->{greeting} >> dies. A subclass keeps its own data outside, by the address of the object:

    package Greeter;
    our @ISA = ('KestrixDispEngine::KestrixDispEngine');
    use Scalar::Util 'refaddr';

    my %greeting;

    sub new {
        my ($class, $greeting) = @_;
        my $self = $class->SUPER::new;    # which takes no arguments
        $greeting{refaddr $self} = $greeting;
        return $self;
    }

    sub DESTROY {
        my ($self) = @_;
        delete $greeting{refaddr $self};
        return $self->SUPER::DESTROY;
    }

    sub greet {
        my ($self) = @_;
        my $text = "<ovix-display><text>$greeting{refaddr $self}</text></ovix-display>";
        return $self->parse($text, 'default', 'DEFAULT');
    }

A class whose objects hold an engine, instead of being one, needs nothing of this.

=head2 Variables

In the package C<KestrixDispEngine::KestrixDispEngine>, the names of the elements: C<$TAG_TEXT>,
C<$TAG_OVIXD>, C<$TAG_WINDOW>, C<$TAG_RESET>, C<$TAG_CURSOR>, C<$TAG_CLEAR>, C<$TAG_BLINK>,
C<$TAG_BRIGHTNESS>, C<$TAG_MARQUEE>, C<$TAG_CLOCK>, C<$TAG_COMMAND>; the language at the start of
every document, C<$LANG_DEFAULT>; two sizes in bytes, C<$LANG_BUF_LEN> and C<$TAG_BUF_LEN>; and
C<$ucHandle>. All but C<$ucHandle> are read-only.

=head1 THE CONVERTER

The text of a document is converted by functions that can be called by themselves, as methods of
the class:

    my $class   = 'KestrixDispEngine::KestrixDispEngine';
    my $device  = KestrixDispEngine::Bytes->new('default');
    my $setting = KestrixDispEngine::Bytes->new('DEFAULT');

    my $handle = $class->RuvoOpenHandle($device, $device->length, $setting, $setting->length);
    die "status $handle\n" if $handle < 0;

    my $text = KestrixDispEngine::Bytes->new("\xC3\xA4");    # UTF-8, in the default profile
    $class->RuvoSetData($handle, $text, $text->length);

    my $length = KestrixDispEngine::Number->new(0);
    $class->RuvoGetOutputData($handle, undef, $length);      # -40, and $length is what it takes
    my $room = KestrixDispEngine::Bytes->room($length->value);
    $class->RuvoGetOutputData($handle, $room, $length);      # 0
    my $codes = $room->bytes;

    $class->RuvoCloseHandle($handle);

C<RuvoSetData> may be called several times before the output is taken. All four functions return a
status: 0, or from C<RuvoOpenHandle> the handle, for success, and a negative number otherwise: those
listed with C<getUCHandle>, and

    -10          the handle is not open
    -20          an argument is undef or 0 that must not be
    -40          the room is too small; the length has been set to what it takes
    -400, -410   warnings, the text has been converted: odd length or unpaired surrogate in UTF-16
    -420         a warning: malformed UTF-8
    -500         a warning: the text was too long, its first part has been converted
    -510         the output is full

The functions read and write memory as they are told: a length must not be greater than what is
there.

=head2 KestrixDispEngine::Bytes

Memory for bytes. It lives as long as the object, or the copies of the object in threads started
later, which are the same memory.

    my $text = KestrixDispEngine::Bytes->new($string);    # the bytes of the string
    my $room = KestrixDispEngine::Bytes->room($length);   # zeros
    my $string = $room->bytes;                            # all of it
    my $length = $room->length;

=head2 KestrixDispEngine::Number

Memory for one number from 0 to the greatest C<unsigned long>, that a function may change.

    my $number = KestrixDispEngine::Number->new(0);
    my $value  = $number->value;
    $number->set(5);

=head1 ERRORS

Wrong arguments are errors: the call dies, and C<$@> is one line, without the place in the script.

    RuntimeError Usage: KestrixDispEngine_parse(self,data,devInfo,setting);
    TypeError in method 'KestrixDispEngine_parse', argument 1 of type 'KestrixDispEngine *'
    OverflowError in method 'KestrixDispEngine_RuvoCloseHandle', argument 1 of type 'short'
    ValueError invalid null reference in method '...', argument 2 of type '...'
    MemoryError in method 'KestrixDispEngine_parse'

The names are those of the functions that the methods call, and a C<self> counts as an argument.

=over

=item *

A string may be any defined value that is not a plain reference; of an object with a string
operator it is the string. Only the name for C<hasParser> may be undef.

=item *

A number may be a string that is a number as a whole, and must not have a fraction.

=item *

An engine that has been destroyed, a pointer to a map that is in no living engine, and a pointer of
another type are TypeErrors. A pointer is an address: one that is kept beyond its engine's life may
be that of a new engine one day.

=back

Assigning to a read-only variable dies with C<Value is read-only.>. Assigning to C<$ucHandle> what
is not a number of 16 bits does not die: it sets C<$@> and leaves the variable as it was.

=head1 THREADS

An engine belongs to the thread that made it. In threads started later, variables that held it hold
a reference to undef, and destroy nothing.

The handles and C<$ucHandle> are the same for the whole process, and nothing is locked: only one
thread at a time may make or destroy an engine, parse, assign maps, or call the converter.

=head1 LOW-LEVEL FUNCTIONS

The methods call functions of the package C<KestrixDispEnginec>, which can be called themselves:

    new_KestrixDispEngine()
    delete_KestrixDispEngine(self)
    KestrixDispEngine_parse(self, data, devInfo, setting)
    KestrixDispEngine_getUCHandle()
    KestrixDispEngine_hasParser(self, key, funcMap)
    KestrixDispEngine_funcMapBegin_get(self)
    KestrixDispEngine_funcMapBegin_set(self, funcMapBegin)
    KestrixDispEngine_funcMapEnd_get(self)
    KestrixDispEngine_funcMapEnd_set(self, funcMapEnd)
    KestrixDispEngine_ucHandleMap_get(self)
    KestrixDispEngine_ucHandleMap_set(self, ucHandleMap)
    KestrixDispEngine_RuvoOpenHandle(pucDeviceInfo, ulDeviceInfoLength, pucID, ulIDLength)
    KestrixDispEngine_RuvoCloseHandle(sHandle)
    KestrixDispEngine_RuvoSetData(sHandle, pucData, ulDataLength)
    KestrixDispEngine_RuvoGetOutputData(sHandle, pucPrintData, pulLength)

The variables are there too, with C<KestrixDispEngine_> before their names.

An engine is a hash tied to its inner pointer, C<tied %$engine>, which every function takes as well.
After C<delete_KestrixDispEngine> both are TypeErrors. A pointer is a reference to a scalar with the
address, blessed into a package for its type: C<_p_char>, C<_p_unsigned_char>, C<_p_unsigned_long>,
C<_p_std__mapT_char_const_p_TagParser_p_compare_t>, C<_p_std__mapT_std__string_const_short_t>. Undef
is the null pointer.

The hash C<%KestrixDispEngine::KestrixDispEngine::OWNER> has the inner pointer of every engine that
Perl is to destroy, with the value 1. Deleting the entry leaves the engine to somebody else.

=cut
