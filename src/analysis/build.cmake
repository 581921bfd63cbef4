# The model's vector kernels: one file built for AVX2 and selected at run time (never
# -march=native). Their exp/log/sin/cos come from the C library's vector math library.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64")
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/model_avx2.cpp
                              PROPERTIES COMPILE_OPTIONS "-mavx2")
  find_library(KURVALUX_MVEC_LIBRARY mvec)
  if(KURVALUX_MVEC_LIBRARY)
    target_link_libraries(kurvalux_core PUBLIC ${KURVALUX_MVEC_LIBRARY})
    target_compile_definitions(kurvalux_core PRIVATE KURVALUX_HAVE_MVEC=1)
  endif()
endif()
