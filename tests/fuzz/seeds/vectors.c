typedef short v8 __attribute__((vector_size(16)));
typedef float v16f __attribute__((vector_size(64)));
v8 shuffled(v8 a, v8 b, int k) {
    a[k & 7] += b[2];
    return __builtin_shufflevector(a, b, 0, 9, 2, 11, 4, 13, 6, 15) + (a > b);
}
v16f wide(v16f x) { return x * x; }
