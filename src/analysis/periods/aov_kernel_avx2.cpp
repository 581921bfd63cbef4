// The AoV kernel four points at a time (AVX2 with FMA); compiled with those instruction-set
// flags (build.cmake) and called only on processors that have them.
#include "analysis/periods/aov_kernel.h"

#define KURVALUX_AOV_LANES 4
#define KURVALUX_AOV_FUNCTION AovKernelAvx2
#include "analysis/periods/aov_kernel_simd.inc"
