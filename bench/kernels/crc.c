// Checks over bytes: CRC-32 by bits and by table, CRC-16, Adler, Fletcher.
#include "kernel.h"

static unsigned char bytes[8192];
static unsigned table[256];

static unsigned crc32_bits(const unsigned char *p, int n)
{
    unsigned crc = ~0u;
    while (n--) {
        crc ^= *p++;
        for (int k = 0; k < 8; k++) crc = crc & 1 ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
    }
    return ~crc;
}

static void make_table(void)
{
    for (unsigned i = 0; i < 256; i++) {
        unsigned c = i;
        for (int k = 0; k < 8; k++) c = c & 1 ? c >> 1 ^ 0xEDB88320u : c >> 1;
        table[i] = c;
    }
}

static unsigned crc32_table(const unsigned char *p, unsigned n)
{
    unsigned crc = 0xFFFFFFFFu;
    for (unsigned i = 0; i < n; i++) crc = table[(crc ^ p[i]) & 0xFF] ^ crc >> 8;
    return crc ^ 0xFFFFFFFFu;
}

static unsigned short crc16(const unsigned char *p, int n)
{
    unsigned short crc = 0xFFFF;
    for (int i = 0; i < n; i++) {
        crc ^= (unsigned short)(p[i] << 8);
        for (int k = 0; k < 8; k++) crc = (unsigned short)(crc & 0x8000 ? crc << 1 ^ 0x1021 : crc << 1);
    }
    return crc;
}

static unsigned adler(const unsigned char *p, int n)
{
    unsigned a = 1, b = 0;
    for (int i = 0; i < n; i++) {
        a = (a + p[i]) % 65521;
        b = (b + a) % 65521;
    }
    return b << 16 | a;
}

static unsigned fletcher(const unsigned short *p, int n)
{
    unsigned a = 0xFFFF, b = 0xFFFF;
    while (n > 0) {
        int block = n > 359 ? 359 : n;
        n -= block;
        do b += a += *p++;
        while (--block);
        a = (a & 0xFFFF) + (a >> 16);
        b = (b & 0xFFFF) + (b >> 16);
    }
    return b << 16 | a;
}

int main(void)
{
    static unsigned short halves[2048];
    for (int i = 0; i < 8192; i++) bytes[i] = (unsigned char)next_random();
    for (int i = 0; i < 2048; i++) halves[i] = (unsigned short)(bytes[2 * i] | bytes[2 * i + 1] << 8);
    make_table();
    mix(crc32_bits(bytes, 4096));
    mix(crc32_table(bytes, 8192));
    mix(crc16(bytes, 4096));
    mix(adler(bytes, 8192));
    mix(fletcher(halves, 2048));
    return finish();
}
