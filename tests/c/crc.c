// Checks of several widths and orders, bit by bit and by table, with the known values of "123456789".
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static uint32_t reflected(uint32_t v, int bits) {
    uint32_t r = 0;
    for (int i = 0; i < bits; i++)
        if (v & 1u << i) r |= 1u << (bits - 1 - i);
    return r;
}

static uint8_t crc8(const uint8_t *p, int n) {
    uint8_t crc = 0;
    while (n--) {
        crc ^= *p++;
        for (int k = 0; k < 8; k++) crc = (uint8_t)(crc & 0x80 ? crc << 1 ^ 0x07 : crc << 1);
    }
    return crc;
}
static uint16_t crc16_ccitt(const uint8_t *p, int n) {
    uint16_t crc = 0xFFFF;
    while (n--) {
        uint8_t x = (uint8_t)(crc >> 8 ^ *p++);
        x ^= x >> 4;
        crc = (uint16_t)(crc << 8 ^ x << 12 ^ x << 5 ^ x);
    }
    return crc;
}
static uint16_t crc16_arc(const uint8_t *p, int n) {
    uint16_t crc = 0;
    while (n--) {
        crc ^= *p++;
        for (int k = 0; k < 8; k++) crc = (uint16_t)((crc >> 1) ^ (-(crc & 1) & 0xA001));
    }
    return crc;
}
static uint32_t crc32_bits(const uint8_t *p, int n) {
    uint32_t crc = ~0u;
    while (n--) {
        crc ^= *p++;
        for (int k = 8; k; k--) crc = crc & 1 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
    }
    return ~crc;
}
static uint32_t table[256], nibbles[16];
static uint32_t crc32_table(const uint8_t *p, int n) {
    uint32_t crc = 0xFFFFFFFF;
    for (int i = 0; i < n; i++) crc = table[(crc ^ p[i]) & 0xFF] ^ (crc >> 8 & 0x00FFFFFF);
    return crc ^ 0xFFFFFFFF;
}
static uint32_t crc32_nibbles(const uint8_t *p, int n) {
    uint32_t crc = 0xFFFFFFFF;
    for (int i = 0; i < n; i++) {
        crc = nibbles[(crc ^ p[i]) & 15] ^ crc >> 4;
        crc = nibbles[(crc ^ p[i] >> 4) & 15] ^ crc >> 4;
    }
    return ~crc;
}
static uint64_t crc64(const uint8_t *p, int n) {
    uint64_t crc = 0;
    while (n--) {
        crc ^= (uint64_t)*p++ << 56;
        for (int k = 0; k < 8; k++) crc = (crc << 1) ^ (0x42F0E1EBA9EA3693ULL & -(crc >> 63));
    }
    return crc;
}
static uint32_t adler(const uint8_t *p, int n) {
    uint32_t a = 1, b = 0;
    for (int i = 0; i < n; i++) a = (a + p[i]) % 65521, b = (b + a) % 65521;
    return b << 16 | a;
}
static uint16_t fletcher(const uint8_t *p, int n) {
    unsigned a = 0, b = 0;
    for (int i = 0; i < n; i++) a = (a + p[i]) % 255, b = (a + b) % 255;
    return (uint16_t)(b << 8 | a);
}
static uint16_t internet(const uint8_t *p, int n) {
    uint32_t sum = 0;
    for (int i = 0; i + 1 < n; i += 2) sum += (uint32_t)p[i] << 8 | p[i + 1];
    if (n & 1) sum += (uint32_t)p[n - 1] << 8;
    while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
    return (uint16_t)~sum;
}

int main(void) {
    for (uint32_t i = 0; i < 256; i++) {
        uint32_t c = i;
        for (int k = 0; k < 8; k++) c = (c >> 1) ^ ((c & 1) * 0xEDB88320u);
        table[i] = c;
        if ((i & 0xF) == i) {
            uint32_t half = i;
            for (int k = 0; k < 4; k++) half = half >> 1 ^ (0xEDB88320u & (0u - (half & 1)));
            nibbles[i] = half;
        }
    }
    uint8_t data[300];
    memcpy(data, "123456789", 9);
    for (int n = 9;; n = 300) {
        printf("%02x %04x %04x %08x %08x %08x %016llx %08x %04x %04x\n", crc8(data, n), crc16_ccitt(data, n),
               crc16_arc(data, n), crc32_bits(data, n), crc32_table(data, n), crc32_nibbles(data, n),
               (unsigned long long)crc64(data, n), adler(data, n), fletcher(data, n), internet(data, n));
        if (n == 300) break;
        for (int i = 0; i < 300; i++) data[i] = (uint8_t)(i * 7 + (i >> 3) * 31 ^ i << 2);
    }
    printf("%08x %x\n", reflected(0x04C11DB7, 32), reflected(0x5, 3));
    return 0;
}
