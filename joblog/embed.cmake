# Turns the page's files into string constants. Each has, beside its text, the hash by which the
# page's security policy admits it, so that nothing that a log smuggles in can run.

# The base64 form of a SHA-256 sum that is given as 64 hexadecimal digits.
function(vtclass_base64_of_sha256 hex result)
  set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  set(text)
  # Three digits are two letters; the last digit stands alone and is filled up with zeros.
  foreach(i RANGE 0 60 3)
    string(SUBSTRING ${hex} ${i} 3 digits)
    math(EXPR first "0x${digits} >> 6")
    math(EXPR second "0x${digits} & 63")
    string(SUBSTRING ${alphabet} ${first} 1 a)
    string(SUBSTRING ${alphabet} ${second} 1 b)
    string(APPEND text ${a}${b})
  endforeach()
  string(SUBSTRING ${hex} 63 1 digits)
  math(EXPR last "0x${digits} << 2")
  string(SUBSTRING ${alphabet} ${last} 1 a)
  set(${result} "${text}${a}=" PARENT_SCOPE)
endfunction()

# vtclass_embed(variable file): sets VARIABLE to the text as C++ literals of moderate length (a
# compiler may refuse a long one) and VARIABLE_HASH.
function(vtclass_embed variable file)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(READ ${file} text)
  string(REPLACE "\r\n" "\n" text "${text}")
  string(SHA256 sum "${text}")
  vtclass_base64_of_sha256(${sum} hash)
  set(literals)
  string(LENGTH "${text}" length)
  set(at 0)
  while(at LESS length)
    string(SUBSTRING "${text}" ${at} 2000 piece)
    string(APPEND literals "    R\"page(${piece})page\"\n")
    math(EXPR at "${at} + 2000")
  endwhile()
  set(${variable} "${literals}" PARENT_SCOPE)
  set(${variable}_HASH "sha256-${hash}" PARENT_SCOPE)
endfunction()
