# Installation and the Debian package.
#   cmake --install build --prefix ~/.local      (add --strip for a binary without debug data)
#   cd build && cpack -G DEB                      (writes tagwick_<version>_<arch>.deb)

include(GNUInstallDirs)

install(TARGETS tagwickcli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/man/tagwickcli.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/completion/tagwickcli
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The package carries the version that "tagwickcli -ver" prints.
file(STRINGS ${PROJECT_SOURCE_DIR}/src/cli/help_text.h TAGWICK_VERSION_LINES
     REGEX "Version(Major|Minor|Patch) = [0-9]+")
foreach(part Major Minor Patch)
  if(NOT TAGWICK_VERSION_LINES MATCHES "Version${part} = ([0-9]+)")
    message(FATAL_ERROR "src/cli/help_text.h does not define Version${part}")
  endif()
  string(TOUPPER ${part} upper)
  set(CPACK_PACKAGE_VERSION_${upper} ${CMAKE_MATCH_1})
endforeach()
set(CPACK_PACKAGE_VERSION
    "${CPACK_PACKAGE_VERSION_MAJOR}.${CPACK_PACKAGE_VERSION_MINOR}.${CPACK_PACKAGE_VERSION_PATCH}")

set(TAGWICK_PACKAGE_CONTACT "Tagwick maintainers <tagwick@example.org>"
    CACHE STRING "Maintainer named in the Debian package")

set(CPACK_PACKAGE_NAME tagwick)
set(CPACK_PACKAGE_VENDOR Tagwick)
set(CPACK_PACKAGE_CONTACT ${TAGWICK_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "command-line editor for the ID3 tags of MP3 and AIFF tracks")
set(CPACK_PACKAGE_DESCRIPTION
    "tagwickcli reads, shows, changes, copies, removes and exports the metadata
tags of audio tracks: ID3 version 1 and version 2 (2.2, 2.3 and 2.4 read; 2.3
or 2.4 written) in MP3 files, AIFF files and its own tag data files. It sets
the common fields, pictures, lyrics and podcast fields on many tracks at once,
copies between the two tag versions, and exports tags to CSV, XML, picture
files and tag data files, renaming tracks and filing them into artist and
album folders by their tags.

It also summarises the MPEG audio stream (bit rate, frequency, length, Xing,
VBRI and LAME headers), checks a stream frame by frame and rebuilds a damaged
file. A track is never half-written: a changed tag is saved through a
temporary file that is verified before it replaces the original.")

set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Dependencies are read from the binary: none when it is linked statically (the default),
# libc6, libstdc++6 and libgcc-s1 otherwise.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

include(CPack)
