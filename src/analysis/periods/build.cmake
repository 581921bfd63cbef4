# The vector kernels of the period search are compiled for their instruction sets and chosen
# at run time (aov_dispatch.cpp); everything else stays portable. Contraction of a*b+c into
# fused multiply-adds is allowed in the kernels only. On other processors the same files
# compile with the generic vector types and are never called.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i[3-6]86)$")
  set(_periods_dir ${CMAKE_CURRENT_LIST_DIR})
  set_source_files_properties(${_periods_dir}/aov_kernel_avx2.cpp
      PROPERTIES COMPILE_OPTIONS "-mavx2;-mfma;-ffp-contract=fast")
  set_source_files_properties(${_periods_dir}/aov_kernel_avx512.cpp
      PROPERTIES COMPILE_OPTIONS "-mavx512f;-mavx2;-mfma;-ffp-contract=fast")
  unset(_periods_dir)
endif()
