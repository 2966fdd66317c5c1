// Characters of ASCII, classified without the host's locale.
#pragma once

// Blank, HT, LF, VT, FF or CR.
constexpr bool isAsciiSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char asciiLowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The value of a hexadecimal digit, 0 to 15; -1 for another character.
constexpr int hexDigitValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char folded = asciiLowerCase(c);
    return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : -1;
}
