# Compiler options of every target of the project.

# The oldest compilers that the project is tried with.
set(oldest_GNU 12)
set(oldest_Clang 14)
if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS "${oldest_${CMAKE_CXX_COMPILER_ID}}")
  message(FATAL_ERROR "LumoMixcalc needs g++ ${oldest_GNU}, clang++ ${oldest_Clang} or a newer one; "
    "${CMAKE_CXX_COMPILER} is version ${CMAKE_CXX_COMPILER_VERSION}.")
endif()

add_library(lumomixcalc_options INTERFACE)
add_library(LumoMixcalc::options ALIAS lumomixcalc_options)

target_include_directories(lumomixcalc_options INTERFACE ${PROJECT_SOURCE_DIR})

target_compile_options(lumomixcalc_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  # A fused multiply-add rounds once where the documented arithmetic rounds twice. Compilers would
  # use it wherever the processor has it, and results would differ from machine to machine.
  -ffp-contract=off
  # Nothing reads errno after a math function. Changes no result, but allows a square root to be one
  # instruction.
  -fno-math-errno
  # Nothing reads the floating-point exception flags. Changes no result, but lets g++ compute both
  # sides of a choice between two doubles, and so several elements at once.
  -fno-trapping-math
  # g++ 12 drops the rounding of two doubles to single precision and back when it packs them side by
  # side, as in {static_cast<float>(x), static_cast<float>(y)} for two doubles.
  $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>
  # Release builds define NDEBUG. The assertions here guard against mistakes of a host and cost
  # nothing compared with a block of data, so they stay on in every build.
  -UNDEBUG)

if(LUMOMIXCALC_SINGLE_VERSION)
  target_compile_definitions(lumomixcalc_options INTERFACE LUMOMIXCALC_SINGLE_VERSION)
endif()

if(LUMOMIXCALC_WERROR)
  target_compile_options(lumomixcalc_options INTERFACE -Werror)
endif()

if(LUMOMIXCALC_SANITIZE)
  target_compile_options(lumomixcalc_options INTERFACE
    -fsanitize=${LUMOMIXCALC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(lumomixcalc_options INTERFACE -fsanitize=${LUMOMIXCALC_SANITIZE})
endif()
