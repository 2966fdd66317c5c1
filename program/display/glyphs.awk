# Makes the rows of Glyphs.cpp from unifont.hex, for the glyphs that are one cell wide: 8 x 16 dots.
BEGIN { FS = ":" }
length($2) == 32 {
    rows = ""
    for (i = 1; i <= 32; i += 2)
        rows = rows (i == 1 ? "" : ",") "0x" substr($2, i, 2)
    printf "{0x%s,{%s}},\n", $1, rows
}
