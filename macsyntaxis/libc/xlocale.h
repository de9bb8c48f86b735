#include <ctype.h>
#include <locale.h>
#include <stdio.h>
#undef isdigit_l
#undef isxdigit_l
#ifdef __cplusplus
extern "C" {
#endif
int sscanf_l(const char*, locale_t, const char*, ...);
int snprintf_l(char*, size_t, locale_t, const char*, ...);
int asprintf_l(char**, locale_t, const char*, ...);
#ifdef __cplusplus
}
#endif
