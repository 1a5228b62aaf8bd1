// Wide strings through the library.
#include <stdio.h>
#include <wchar.h>

int main(void) {
    wchar_t b[32];
    wcscpy(b, L"wide");
    wcscat(b, L" text");
    wcsncpy(b + 20, L"abc", 3);
    b[23] = 0;
    printf("%u %d %d\n", (unsigned)wcslen(b), wcscmp(b, L"wide text"), wcscmp(L"a", L"b") < 0);
    printf("%d %d\n", (int)(wcschr(b, L't') - b), wcsncmp(b, L"wider", 4));
    wmemset(b, L'x', 3);
    wmemcpy(b + 4, L"12", 2);
    printf("%d %d\n", (int)b[2], (int)b[5]);
    return (int)wcslen(b + 20);
}
