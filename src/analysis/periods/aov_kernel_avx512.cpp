// The AoV kernel eight points at a time (AVX-512F); compiled with those instruction-set flags
// (build.cmake) and called only on processors that have them.
#include "analysis/periods/aov_kernel.h"

#define KURVALUX_AOV_LANES 8
#define KURVALUX_AOV_FUNCTION AovKernelAvx512
#include "analysis/periods/aov_kernel_simd.inc"
