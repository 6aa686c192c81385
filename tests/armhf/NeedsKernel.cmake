# The list of tests that need a kernel of the device's kind.
set(mcu_needs_kernel_list ${CMAKE_CURRENT_LIST_DIR}/needs-kernel.txt)
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${mcu_needs_kernel_list})

# mcu_tests_without_kernel(RESULT PROGRAM): a filter that leaves the program's tests of the list out;
# empty when there is none.
function(mcu_tests_without_kernel result program)
    file(STRINGS ${mcu_needs_kernel_list} lines REGEX "^${program} ")
    list(TRANSFORM lines REPLACE "^${program} " "")
    list(JOIN lines ":" names)
    set(filter "")
    if(names)
        set(filter "-${names}")
    endif()
    set(${result} "${filter}" PARENT_SCOPE)
endfunction()
