#if 0
isn't
#endif
char c = '\\'; int n = 1'000;
#define M(x) "$$$/" #x "=b"
"$$$/a=b{{*COMMENT*}}c"
