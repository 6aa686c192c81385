# Compile and link options that every target of this project shares.
add_library(project_options INTERFACE)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fno-omit-frame-pointer)
target_link_libraries(project_options INTERFACE Threads::Threads)
if(MCU_SANITIZE)
    # With a sanitizer's instrumentation GCC takes parts of the standard library (std::regex) for
    # uninitialised; the plain builds keep the warning.
    target_compile_options(project_options INTERFACE -fsanitize=${MCU_SANITIZE}
        -fno-sanitize-recover=all -Wno-maybe-uninitialized)
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
