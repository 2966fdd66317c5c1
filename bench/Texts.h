// The texts and documents that are measured.
#pragma once

#include <cstddef>
#include <string>

// About `size` bytes of UTF-8, made of the phrase, ending with a whole character.
std::string repeated(const std::string& phrase, std::size_t size);

// A display document of about `size` bytes: positions, texts, windows and cursors.
std::string document(std::size_t size);

inline const std::string kAscii = "Total 12.50 paid in cash, change 7.50. Thank you! ";
inline const std::string kWestern = "Äpfel für 3,50 und Crème brûlée à la carte, ñandú ";
inline const std::string kDecomposed =
    "A\xCC\x88pfel fu\xCC\x88r 3,50 und Cre\xCC\x80me bru\xCC\x82le\xCC\x81"
    "e a\xCC\x80 la carte, n\xCC\x83"
    "andu\xCC\x81 ";
inline const std::string kCyrillic = "Итого к оплате двенадцать рублей, спасибо ";
inline const std::string kKatakana = "ｱﾘｶﾞﾄｳｺﾞｻﾞｲﾏｼﾀ ﾏﾀﾄﾞｳｿﾞ ";
inline const std::string kFourTables = "Æble ёлка ｱﾘｶﾞﾄｳ Σίγμα Œuf ";
inline const std::string kSets = "12‾34 56₩78 90‾12 34₩56 ";
