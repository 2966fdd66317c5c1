# The default profile as it was built, through the converter.
use FindBin;
use lib $FindBin::Bin;
use KestrixTest;
use Encode ();

sub lines { open my $in, '<', $_[0] or die "$_[0]: $!\n"; return <$in> }

# The characters at the bytes of each table and set, by parameter.
my (%tables, %sets, %seen);
my %substituted;    # characters with the byte of another one, by the character shown in their place
my %iso = (28604 => 'iso-8859-14', 28593 => 'iso-8859-3', 28606 => 'iso-8859-16');
my $device = join '', lines('default');
while ($device =~ /(?:CodePage=(\d+)\r\n)?\w+CommandParam=(\d+)\r\n\w+FileName=(\S+)/g) {
    my ($page, $parameter, $file) = ($1, $2, $3);
    my %at = map { /^0x(..)\t0x(\S+)\t/ ? (chr hex $1, chr hex $2) : () } lines($file);
    if ($page && $tables{$parameter}) {
        # Of a byte that several files of a table have, the first one's character is what is shown.
        my @lines = map { /^0x(..)\t0x(\S+)\t/ ? [map { chr hex } $1, $2] : () } lines($file);
        $substituted{$_->[1]} = $tables{$parameter}{$_->[0]} for @lines;
    } elsif ($page) {
        # catches: wrong code page data, a byte left out, a control code that a text can send
        my $encoding = Encode::find_encoding($iso{$page} // ($page == 897 ? 'cp932' : "cp$page"));
        my %known = map { my $byte = $_; ($byte, $encoding->decode($byte)) } map { chr } 0x20 .. 0xFF;
        $known{"\xE6"} = "\x{3BC}" if $page == 437;    # the Greek letter, not the sign
        delete @known{grep { $known{$_} =~ /^$|[\x{FFFD}\p{Cc}\p{Co}]/ } keys %known};
        delete $known{"\xAA"} if $page == 852;
        is_deeply \%at, \%known, $file;
        $tables{$parameter} = \%at;
        $seen{$_} = 1 for values %at;
    } else {
        # catches: a set that holds a character of a table or of another set
        is_deeply [grep { $seen{$_}++ } values %at], [], "$file has characters of its own";
        $sets{$parameter} = \%at;
    }
}
is_deeply [[sort { $a <=> $b } keys %tables], [sort { $a <=> $b } keys %sets]],
    [[0, 1, 2, 13, 14, 16 .. 25], [8, 13]], 'tables and sets';

my $handle;
sub opened { return $handle = $CLASS->RuvoOpenHandle(map { $_, $_->length } map { bytes($_) } @DEVICE) }

sub converted {
    utf8::encode(my $text = shift);
    my $memory = bytes($text);
    $CLASS->RuvoSetData($handle, $memory, $memory->length);
    my $length = number(9 * length $text);
    my $room   = KestrixDispEngine::Bytes->room($length->value);
    $CLASS->RuvoGetOutputData($handle, $room, $length);
    return substr $room->bytes, 0, $length->value;
}

# The characters that the display shows for a text.
my ($table, $set) = (0, 0);
sub shown {
    my $shown = '';
    for (converted($_[0]) =~ /\x1B[tR].|./sg) {
        if    (/^\x1Bt(.)/s) { $table = ord $1 }
        elsif (/^\x1BR(.)/s) { $set = ord $1 }
        else                 { $shown .= $sets{$set}{$_} // $tables{$table}{$_} // '<no character>' }
    }
    return $shown;
}

# catches: a table chosen before one with a smaller parameter, a pair kept that leads nowhere
for (
    ["A\xE9" => '1B74004182'], ["\x{42F}" => '1B74119F'], ["1\x{300}" => '1B7400313F'],
    ["a\x{20A9}" => '1B7400611B520D5C1B5200'], ["u\x{308}\x{304}" => '1B7400751B7402F9EE'],
    )
{
    my ($text, $expected) = @$_;
    opened();
    is uc unpack('H*', converted($text)), $expected, "bytes for $expected";
    $CLASS->RuvoCloseHandle($handle);
}

opened();
# catches: a set or a second line that takes a character away from its byte
is shown($_), $_, sprintf 'U+%04X', ord for sort keys %seen;
# catches: a substitute for a character that the display has, or one that is not what is shown
is_deeply [grep { $seen{$_} } keys %substituted], [], 'only other characters are substituted';
is shown($_), $substituted{$_}, sprintf 'U+%04X', ord for sort keys %substituted;
is shown(join '', map { chr } 0 .. 0x1F, 0x7F .. 0x9F), '?' x 65, 'control characters';

# catches: a pair that another row keeps from matching, a row whose character has no byte, a row
# that turns a letter and its mark into nothing although the letter alone can be shown
my %pairs;
for (lines('UnicodeData.txt')) {
    my ($composed, $tag, @pair) = /^(\w+);(?:[^;]*;){4}(<\w+> )?(\w+) (\w+);/ or next;
    ($composed, @pair) = map { chr hex } $composed, @pair;
    is shown("$pair[0]$pair[1]"), $substituted{$composed} // $composed, "pair of $_";
    is shown($pair[1]), $composed, 'spacing form' if $tag;
    $pairs{"$pair[0]$pair[1]"} = 1;
}
cmp_ok scalar keys %pairs, '>', 100, 'pairs';
for my $letter (grep { $_ ne '1' } sort keys %seen) {
    my @texts = map { $letter . chr } 0x300 .. 0x36F;
    my @shown = split /1/, shown(join '1', @texts);
    is_deeply [grep { $shown[$_] !~ /^\Q$letter\E/ && !$pairs{$texts[$_]} } 0 .. $#texts], [],
        sprintf 'letters stay before marks: U+%04X', ord $letter;
}

done_testing;
