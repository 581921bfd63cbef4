#pragma once
// Choice of the AoV kernel at run time: the widest vector instructions the processor has, the
// scalar reference everywhere else. The program is built for the baseline processor; only the
// kernel files carry instruction-set flags.
#include <string>
#include <string_view>

#include "analysis/periods/aov_kernel.h"

namespace kurvalux_analysis {

enum class AovIsa { Auto, Scalar, Avx2, Avx512 };

// Whether this processor runs the kernel (Auto and Scalar always).
bool AovIsaSupported(AovIsa isa);
// The widest supported kernel.
AovIsa BestAovIsa();
// The kernel for `isa` (Auto: the best one); null when the processor lacks its instructions.
AovKernelFunction AovKernelFor(AovIsa isa);
// "auto", "scalar", "avx2", "avx512".
const char* AovIsaName(AovIsa isa);
bool ParseAovIsa(std::string_view text, AovIsa& isa);

}  // namespace kurvalux_analysis
