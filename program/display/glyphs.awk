# Makes the rows of Glyphs.cpp from a font in BDF, in which every glyph must be 8 x 13 dots.
$1 == "ENCODING" { character = $2 }
$1 == "BBX" && ($2 != 8 || $3 != 13) { bad = 1; exit 1 }
$1 == "BITMAP" { rows = ""; next }
$1 == "ENDCHAR" { printf "{%d,{%s}},\n", character, substr(rows, 2) }
/^[0-9A-F][0-9A-F]$/ { rows = rows ",0x" $1; count++ }
END { if (bad || count == 0) { print "no font of 8 x 13 dots" > "/dev/stderr"; exit 1 } }
