#pragma once
// FENRAK_VECTOR_CLONES marks an inner-loop function to be compiled twice,
// for the baseline and for AVX2 (without fused multiply-add, which changes
// no result), the loader choosing the one the processor runs. Both give the
// same numbers; AVX2 takes four doubles at a time.
//
// The thread sanitizer's runtime is not yet up when the loader makes that
// choice, so its builds keep the baseline form alone; so do clang's (the
// fuzz build), which clones no function templates.
#if defined(__SANITIZE_THREAD__) || defined(__clang__)
#define FENRAK_VECTOR_CLONES
#else
#define FENRAK_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#endif
