# The functions of the C library that a program with 64-bit times calls by other names where a word has
# 32 bits.
set(mcu_wide_fstat64 __fstat64_time64)
set(mcu_wide_gettimeofday __gettimeofday64)
set(mcu_wide_select __select64)
set(mcu_wide_time __time64)

# mcu_wrap_calls(TARGET NAME...): the linker leads the program's own calls of each function to the
# program's __wrap_NAME, and its __real_NAME to the C library's. Sources need these two names only,
# also where the function that is called has another one.
function(mcu_wrap_calls target)
    foreach(name IN LISTS ARGN)
        set(called ${name})
        if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND DEFINED mcu_wide_${name})
            set(called ${mcu_wide_${name}})
            target_compile_definitions(${target} PRIVATE
                __wrap_${name}=__wrap_${called} __real_${name}=__real_${called})
        endif()
        target_link_options(${target} PRIVATE LINKER:--wrap=${called})
    endforeach()
endfunction()
