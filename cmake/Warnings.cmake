# Every target of the project is compiled with these; a warning is an error. -Wmaybe-uninitialized is left out: it is
# wrong of std::optional in g++ 14 and of std::regex in g++ 12, each at some level of optimisation.
add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
  -Wformat=2 -Wmissing-declarations -Wimplicit-fallthrough $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized> -Werror)
add_link_options(-Wl,-z,defs)

# With -fsanitize the sanitizer's runtime is resolved when the program is loaded, so modules cannot be closed at link.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  get_property(options DIRECTORY PROPERTY LINK_OPTIONS)
  list(REMOVE_ITEM options "-Wl,-z,defs")
  set_property(DIRECTORY PROPERTY LINK_OPTIONS "${options}")
endif()
