# Header-only libraries: vtclass_system_headers(target folders...), each folder as it is included.
function(vtclass_system_headers target)
  add_library(${target} INTERFACE)
  foreach(name ${ARGN})
    if(MSVC)
      # On Windows they lie where CMAKE_PREFIX_PATH says, or the variable of that name.
      find_path(${target}_${name} ${name} REQUIRED)
      target_include_directories(${target} SYSTEM INTERFACE ${${target}_${name}})
    else()
      vtclass_link_headers(${target} ${name})
    endif()
  endforeach()
endfunction()

# Those of the build machine. Its include folder as a whole must stay out of a cross build, so each
# library is linked into a folder of its own.
function(vtclass_link_headers target name)
  set(folder ${CMAKE_BINARY_DIR}/system-headers/${target})
  file(MAKE_DIRECTORY ${folder})
  find_path(${target}_${name} ${name} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT ${target}_${name})
    message(FATAL_ERROR "The headers '${name}' are missing; 'make build' installs them.")
  endif()
  file(CREATE_LINK ${${target}_${name}}/${name} ${folder}/${name} SYMBOLIC)
  target_include_directories(${target} SYSTEM INTERFACE ${folder})
endfunction()
