# What every target of the project shares: warnings, sanitizers, include roots.

# In the build tree <zorvex/...> resolves as it does for an installed copy: the folders of the
# sources are reached through links, and the two entry headers stand above them.
set(ZORVEX_INCLUDE_ROOT "${PROJECT_BINARY_DIR}/include")
file(MAKE_DIRECTORY "${ZORVEX_INCLUDE_ROOT}/zorvex")
foreach(folder capture platform foundation)
  file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${folder}" "${ZORVEX_INCLUDE_ROOT}/zorvex/${folder}" SYMBOLIC)
endforeach()
file(CREATE_LINK "${PROJECT_SOURCE_DIR}/capture/zorvex.h" "${ZORVEX_INCLUDE_ROOT}/zorvex/zorvex.h" SYMBOLIC)
file(CREATE_LINK "${PROJECT_SOURCE_DIR}/foundation/foundation.h"
     "${ZORVEX_INCLUDE_ROOT}/zorvex/foundation.h" SYMBOLIC)

add_library(zorvex_options INTERFACE)
target_compile_options(zorvex_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Werror)
target_include_directories(zorvex_options INTERFACE "${PROJECT_SOURCE_DIR}" "${ZORVEX_INCLUDE_ROOT}")
if(ZORVEX_SANITIZE)
  target_compile_options(zorvex_options INTERFACE
    -fsanitize=${ZORVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(zorvex_options INTERFACE -fsanitize=${ZORVEX_SANITIZE})
endif()

# For every test: what a sanitizer must know of the libraries that it did not instrument.
set(ZORVEX_TEST_ENVIRONMENT "TSAN_OPTIONS=ignore_noninstrumented_modules=1:halt_on_error=1")
if(ZORVEX_SANITIZE MATCHES address)
  # The thread-local memory of plug-ins confuses the leak detector, which would crash: GCC 12.
  set(ZORVEX_TEST_ENVIRONMENT
    "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/leaks.supp:fast_unwind_on_malloc=0:intercept_tls_get_addr=0:print_suppressions=0")
endif()

# A layer of the library: compiled once, used by libzorvex.so and by the unit tests.
function(zorvex_layer name)
  add_library(zorvex_${name} OBJECT ${ARGN})
  target_link_libraries(zorvex_${name} PUBLIC zorvex_options Threads::Threads)
endfunction()
