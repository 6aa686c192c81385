# Compile and link options that every target of this project shares.

# Where a word has 32 bits the C library otherwise refuses every file and directory with an inode
# number, position or size beyond that: large disks and network file systems have them. And its clock
# otherwise ends in January 2038.
add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)

add_library(project_options INTERFACE)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fno-omit-frame-pointer)
target_link_libraries(project_options INTERFACE Threads::Threads)
if(MCU_SANITIZE)
    # With a sanitizer's instrumentation GCC takes parts of the standard library (std::regex) for
    # uninitialised; the plain builds keep the warning.
    target_compile_options(project_options INTERFACE -fsanitize=${MCU_SANITIZE}
        -fno-sanitize-recover=all $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(project_options INTERFACE -fsanitize=${MCU_SANITIZE})
endif()
if(CMAKE_BUILD_TYPE STREQUAL "MinSizeRel")
    # For the device's flash: what nothing refers to is left out, and so are the symbols.
    target_compile_options(project_options INTERFACE -ffunction-sections -fdata-sections)
    target_link_options(project_options INTERFACE LINKER:--gc-sections LINKER:--strip-all)
endif()
if(MCU_STATIC_LIBRARIES)
    target_link_options(project_options INTERFACE -static-libstdc++ -static-libgcc)
endif()
