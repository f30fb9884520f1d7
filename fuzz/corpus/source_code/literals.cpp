#define A "x" u8R"(y)" \
 "z"
// T: note
f("$$$/k=\x41^^1 \"" A); ROW(1, "t" /* */ A)
