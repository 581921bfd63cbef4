# The model's vector kernels: files built for AVX2 and AVX-512 and selected at run time (never
# -march=native). The scalar and vector paths of the model must give identical bits, so the
# model files are compiled without floating-point contraction.
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/model.cpp
                            PROPERTIES COMPILE_OPTIONS "-ffp-contract=off")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64")
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/model_avx2.cpp
                              PROPERTIES COMPILE_OPTIONS "-mavx2;-ffp-contract=off")
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/model_avx512.cpp
                              PROPERTIES COMPILE_OPTIONS "-mavx512f;-mavx2;-ffp-contract=off")
else()
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/model_avx2.cpp
                                ${CMAKE_CURRENT_LIST_DIR}/model_avx512.cpp
                              PROPERTIES COMPILE_OPTIONS "-ffp-contract=off")
endif()
# The fitter's loops over residuals and Jacobian columns vectorise (the same arithmetic, in
# lanes).
# (The cost-model switch is GCC's; clang, used for the fuzzers, vectorises at -O2 anyway.)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/fitter.cpp
                              PROPERTIES COMPILE_OPTIONS "-ftree-vectorize;-fvect-cost-model=dynamic")
endif()
