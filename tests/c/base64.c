// Base64 both ways over all lengths up to 40, with bytes that run through every value.
#include <stdio.h>
#include <string.h>

static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

static int encode(const unsigned char *in, int n, char *out) {
    char *o = out;
    for (int i = 0; i < n; i += 3) {
        unsigned v = in[i] << 16 | (i + 1 < n ? in[i + 1] << 8 : 0) | (i + 2 < n ? in[i + 2] : 0);
        *o++ = digits[v >> 18];
        *o++ = digits[v >> 12 & 63];
        *o++ = i + 1 < n ? digits[v >> 6 & 63] : '=';
        *o++ = i + 2 < n ? digits[v & 63] : '=';
    }
    *o = 0;
    return (int)(o - out);
}
static int value(char c) {
    const char *p = strchr(digits, c);
    return c && p ? (int)(p - digits) : -1;
}
static int decode(const char *in, unsigned char *out) {
    int n = 0;
    unsigned v = 0, bits = 0;
    for (; *in && *in != '='; in++) {
        int d = value(*in);
        if (d < 0) return -1;
        v = v << 6 | (unsigned)d, bits += 6;
        if (bits >= 8) out[n++] = (unsigned char)(v >> (bits -= 8));
    }
    return n;
}
int main(void) {
    unsigned char data[41], back[64];
    char text[64];
    unsigned sum = 0;
    for (int n = 0; n <= 40; n++) {
        for (int i = 0; i < n; i++) data[i] = (unsigned char)(i * 37 + n * 101);
        int len = encode(data, n, text);
        int m = decode(text, back);
        if (m != n || memcmp(data, back, (size_t)n)) return 1;
        for (int i = 0; i < len; i++) sum = sum * 31 + (unsigned char)text[i];
        if (n % 10 == 4) printf("%2d %s\n", n, text);
    }
    printf("%u %d\n", sum, decode("ab*d", back));
    return 0;
}
