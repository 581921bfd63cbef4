#include "analysis/periods/aov_dispatch.h"

namespace kurvalux_analysis {

bool AovIsaSupported(AovIsa isa) {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();  // may be called before the constructors that would run it
#endif
    switch (isa) {
        case AovIsa::Auto:
        case AovIsa::Scalar:
            return true;
#if defined(__x86_64__) || defined(__i386__)
        case AovIsa::Avx2:
            return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
        case AovIsa::Avx512:
            return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx2") &&
                   __builtin_cpu_supports("fma");
#else
        default:
            return false;
#endif
    }
    return false;
}

AovIsa BestAovIsa() {
    if (AovIsaSupported(AovIsa::Avx512)) return AovIsa::Avx512;
    if (AovIsaSupported(AovIsa::Avx2)) return AovIsa::Avx2;
    return AovIsa::Scalar;
}

AovKernelFunction AovKernelFor(AovIsa isa) {
    if (isa == AovIsa::Auto) isa = BestAovIsa();
    if (!AovIsaSupported(isa)) return nullptr;
    switch (isa) {
        case AovIsa::Avx512:
            return &AovKernelAvx512;
        case AovIsa::Avx2:
            return &AovKernelAvx2;
        default:
            return &AovKernelScalar;
    }
}

const char* AovIsaName(AovIsa isa) {
    switch (isa) {
        case AovIsa::Scalar:
            return "scalar";
        case AovIsa::Avx2:
            return "avx2";
        case AovIsa::Avx512:
            return "avx512";
        default:
            return "auto";
    }
}

bool ParseAovIsa(std::string_view text, AovIsa& isa) {
    for (AovIsa candidate : {AovIsa::Auto, AovIsa::Scalar, AovIsa::Avx2, AovIsa::Avx512})
        if (text == AovIsaName(candidate)) {
            isa = candidate;
            return true;
        }
    return false;
}

}  // namespace kurvalux_analysis
