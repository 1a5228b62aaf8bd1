// Integer promotions and conversions among all widths, and comparisons where the sign is lost or kept.
#include <limits.h>
#include <stdio.h>

static unsigned hash = 2166136261u;
static void show(const char *what, long long v) {
    printf("%s %lld\n", what, v);
    hash = (hash ^ (unsigned)v ^ (unsigned)(v >> 32)) * 16777619u;
}

static signed char narrow_sc(int v) { return v; }
static unsigned char narrow_uc(int v) { return v; }
static short narrow_s(long long v) { return v; }
static unsigned short narrow_us(long long v) { return v; }
static int narrow_i(unsigned long long v) { return v; }
static unsigned narrow_u(long long v) { return v; }
static long long widen_u(unsigned v) { return v; }
static long long widen_i(int v) { return v; }
static unsigned long long widen_sign(signed char v) { return v; }

static const long long samples[] = {0, 1, -1, 127, 128, -128, -129, 255, 256, 32767, 32768, -32769, 65535, 65536,
                                    INT_MAX, INT_MIN, UINT_MAX, 1LL << 32, -(1LL << 32), LLONG_MAX, LLONG_MIN};

int main(void) {
    for (unsigned i = 0; i < sizeof samples / sizeof samples[0]; i++) {
        long long v = samples[i];
        show("sc", narrow_sc(v));
        show("uc", narrow_uc(v));
        show("s", narrow_s(v));
        show("us", narrow_us(v));
        show("i", narrow_i(v));
        show("u", narrow_u(v));
        show("wu", widen_u(v));
        show("wi", widen_i(v));
        show("ws", widen_sign(v));
    }
    unsigned char uc = 200, ud = 100;
    signed char sc = -100, sd = -56;
    unsigned short us = 65535;
    short ss = -32768;
    show("uc+uc", uc + ud);
    show("uc-uc", ud - uc);
    show("~uc", ~uc);
    show("-uc", -uc);
    show("!uc", !uc);
    show("(uc)~uc", (unsigned char)~uc);
    show("uc<<4", uc << 4);
    show("(uc<<4)>>4", (unsigned char)(uc << 4) >> 4);
    show("sc+sc", sc + sd);
    show("(sc)(sc+sc)", (signed char)(sc + sd));
    show("us*2", us * 2);
    show("ss-1", ss - 1);
    show("-ss", -ss);
    show("(s)-ss", (short)-ss);
    show("uc*sc", uc * sc);
    show("sc/ud", sc / ud);
    show("ss%ud", ss % ud);
    unsigned one = 1;
    int minus = -1;
    long long wide = -1;
    unsigned long long uwide = 1;
    show("-1<1u", minus < one);
    show("-1<1", minus < (int)one);
    show("sc<us", sc < us);
    show("-1ll<1u", wide < one);
    show("-1ll<1ull", wide < uwide);
    show("-1>ull", minus > uwide);
    show("uc==-56", uc == -56);
    show("(sc)uc==-56", (signed char)uc == -56);
    show("us==-1", us == -1);
    show("(s)us==-1", (short)us == -1);
    show("u+ll", one + wide);
    show("u*i", (long long)(one * minus));
    show("u*ll", one * (long long)minus);
    show("-u", -one);
    show("ll from -u", (long long)-one);
    show("?:", 1 ? minus : one);
    show("?: ll", (long long)(1 ? minus : one));
    show("?: ull", (1 ? minus : uwide) > 5);
    show("'\\377'", '\377');
    show("char sign", (char)255);
    show("u'x'", sizeof('a') + sizeof(uc + uc) + sizeof(uc) + sizeof(one + wide));
    int chain = (unsigned char)(signed char)(unsigned short)(short)0x1234ff80;
    show("chain", chain);
    show("chain2", (signed char)(unsigned char)(short)chain);
    return hash % 251;
}
