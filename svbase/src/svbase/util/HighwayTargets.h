// No include guard by intent: this must precede each inclusion of Highway, whose own guards do the rest.
//
// Three variants of each kernel are built: the scalar one, which the compiler is free to vectorise for the
// SSE2 that every 64-bit processor has, SSSE3, and AVX2 with FMA. SSE4 adds nothing that the kernels use;
// AVX-512 variants would be code that no test here has run.
//
// Highway's portable 128-bit variant is out for what it costs: under the sanitizers its loops over lanes took
// a compiler more than ten minutes and a gigabyte.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS (HWY_SSE4 | HWY_AVX3 | HWY_AVX3_DL)
#endif
#ifndef HWY_BROKEN_EMU128
#define HWY_BROKEN_EMU128 1
#endif
