# Warnings apply to our own code only; Qt's generated files follow the same flags.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-align
                    -Woverloaded-virtual -Wimplicit-fallthrough)
if(DOTWISE_WERROR)
  add_compile_options(-Werror)
endif()
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
