# vtclass_mini.dll: exports by annotation only.
add_library(vtclass_mini SHARED)
add_library(vtclass::vtclass_mini ALIAS vtclass_mini)
target_compile_definitions(vtclass_mini PRIVATE VTCLASS_MINI_BUILD)
target_compile_definitions(vtclass_core PRIVATE VTCLASS_MINI_BUILD)
target_link_libraries(vtclass_mini PRIVATE vtclass_core)
target_include_directories(vtclass_mini PUBLIC
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:include>)
target_include_directories(vtclass_mini PRIVATE ${CMAKE_SOURCE_DIR})
target_compile_features(vtclass_mini PUBLIC cxx_std_20)
target_link_libraries(vtclass_mini PRIVATE advapi32)

vtclass_dll(vtclass_mini "${PROJECT_DESCRIPTION}")

# vtclass_delay_companions(target companions...): they load at the first call of one of their
# functions. Only functions are imported from them, and the target says what happens where one is
# missing.
function(vtclass_delay_companions target)
  set(delayed ${ARGN})
  if(MSVC)
    list(TRANSFORM delayed REPLACE "(.+)" "/DELAYLOAD:\\1.dll")
  else()
    list(TRANSFORM delayed REPLACE "(.+)" "LINKER:--delayload=\\1.dll")
  endif()
  target_link_options(${target} PRIVATE ${delayed})
  target_link_libraries(${target} PRIVATE delayimp)
endfunction()

# A host that never asks for a host's name or a cluster and never logs an account on does not pay
# for them. Imported plainly, they make loading this DLL five times as slow.
vtclass_delay_companions(vtclass_mini vtsocket vtcluster vtstdutl)
