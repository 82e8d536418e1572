// No include guard by intent: this must precede each inclusion of Highway, whose own guards do the rest.
//
// Three variants of each kernel are built: Highway's portable one at the SSE2 that every 64-bit processor
// has, SSSE3, and AVX2 with FMA. SSE4 adds nothing that the kernels use; AVX-512 variants would be code that
// no test here has run.
//
// Highway withholds the portable variant from GCC before 12.3 for a bug in vectorised integer multiply-high.
// Nothing here multiplies integers, and the tests run that variant too; the alternative has one lane.
#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS (HWY_SSE4 | HWY_AVX3 | HWY_AVX3_DL)
#endif
#ifndef HWY_BROKEN_EMU128
#define HWY_BROKEN_EMU128 0
#endif
