# The Debian package, made from a build tree by packaging/make-package.
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)

set(CPACK_PACKAGE_NAME ${package_name})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "MCUUpdateTool developers <mcuupdatetool@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "firmware updates for microcontrollers on a serial line")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Keeps the firmware of the microcontrollers on the serial line of a device up to
date. It reads an XML configuration, asks each microcontroller for its hardware
and version, decides whether it needs the image that lies on the device,
switches it to its boot loader and sends the image by XMODEM-1K. It can also
reboot or reset the microcontrollers.")

# The libraries that the program needs, each in the lowest version that has what it uses. For ARM
# they are read from Debian's packages, unpacked by packaging/armhf-libraries.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
    set(libraries ${PROJECT_SOURCE_DIR}/build/armhf-libraries)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
        ${libraries}/libc6/lib/arm-linux-gnueabihf
        ${libraries}/libgcc-s1/lib/arm-linux-gnueabihf
        ${libraries}/libstdc++6/usr/lib/arm-linux-gnueabihf
        ${libraries}/libtinyxml2.6.2v5/usr/lib/arm-linux-gnueabihf)
endif()

include(CPack)
