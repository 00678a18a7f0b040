# How every file of the repository is compiled.
add_library(vtclass_options INTERFACE)

if(MSVC)
  # Visual C++, or clang with its options. Warnings are no errors there: nobody has seen them yet.
  target_compile_options(vtclass_options INTERFACE /utf-8 /W4 /permissive- /EHsc /Zc:__cplusplus)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(vtclass_options INTERFACE
      -Wthread-safety -Wno-delete-non-abstract-non-virtual-dtor -Wno-format-nonliteral)
  endif()
  # Symbols for releases too: in files of their own, and nothing is linked in for their sake.
  set(CMAKE_MSVC_DEBUG_INFORMATION_FORMAT ProgramDatabase)
  target_link_options(vtclass_options INTERFACE /DEBUG /OPT:REF)
else()
  target_compile_options(vtclass_options INTERFACE
    -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wimplicit-fallthrough
    -Wunused -Wformat=2 -Werror
    # The job log's classes have a virtual operation and, by contract, a plain destructor.
    -Wno-delete-non-abstract-non-virtual-dtor
    # Message texts are formats that come from resources.
    -Wno-format-nonliteral)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(vtclass_options INTERFACE
      -Wthread-safety -Wzero-as-null-pointer-constant
      # Other compilers refuse it by themselves; with -fms-extensions it is let pass.
      -Wc++11-narrowing)
  endif()
endif()

if(VTCLASS_NATIVE)
  set(sanitize -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(vtclass_options INTERFACE ${sanitize})
  target_link_options(vtclass_options INTERFACE ${sanitize})
else()
  # The lowest Windows that the library runs on is chosen at run time; the headers show everything.
  target_compile_definitions(vtclass_options INTERFACE UNICODE _UNICODE _WIN32_WINNT=0x0A00)
  if(NOT MSVC)
    target_compile_options(vtclass_options INTERFACE -g -gcodeview)
    # Every section may be dropped when nothing refers to it: the DLL carries what it uses.
    target_compile_options(vtclass_options INTERFACE -ffunction-sections)
    target_link_options(vtclass_options INTERFACE LINKER:--gc-sections)
  endif()
endif()
