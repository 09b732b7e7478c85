# Compiler flags that hold for everything built here: warnings are errors.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                    -Wimplicit-fallthrough -Wno-missing-field-initializers -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # These misfire on optional, variant and coroutine frames under optimisation and sanitizers.
  add_compile_options(-Wno-maybe-uninitialized -Wno-dangling-pointer -Wno-stringop-overflow
                      -Wno-array-bounds -Wno-restrict)
endif()
if(PELL_SANITIZE)
  add_compile_options(-fsanitize=${PELL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${PELL_SANITIZE})
endif()

# Packages name more libraries than we call, and each one that is loaded costs start-up time and memory.
add_link_options(-Wl,--as-needed)
