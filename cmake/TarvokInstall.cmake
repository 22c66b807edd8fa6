# What `cmake --install` puts where, and the Debian packages made of it.
#
#   bin/                         tarvok, kelda
#   lib/tarvokengine/            the kernel adapter, which the engine loads by name
#   lib/                         the libraries, static
#   include/tarvok/              their headers, included as <folder/header.h>
#   lib/cmake/tarvokengine/      find_package(tarvokengine) and the targets tarvok::NAME
#   share/                       man pages, documents, examples
#
# A library or program that tarvok_library() or tarvok_program() made is installed without more ado, the PARTs of programs
# aside.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tarvokengine)

get_property(libraries GLOBAL PROPERTY TARVOK_LIBRARIES)
foreach(library IN LISTS libraries)
    get_target_property(folder ${library} SOURCE_DIR)
    install(TARGETS ${library} EXPORT tarvokengine
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
    cmake_path(GET folder FILENAME name)
    file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)
    install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarvok/${name} COMPONENT development)
endforeach()

get_property(programs GLOBAL PROPERTY TARVOK_PROGRAMS)
if(programs)
    install(TARGETS ${programs} RUNTIME COMPONENT runtime)
endif()
install(TARGETS tarvok_kernel_interface EXPORT tarvokengine)
install(FILES ${PROJECT_SOURCE_DIR}/kernel/ckt_kernel.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarvok/kernel COMPONENT development)
if(TARGET tarvok_ckt_kernel)
    install(TARGETS tarvok_ckt_kernel LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tarvokengine COMPONENT runtime)
endif()

install(EXPORT tarvokengine
    NAMESPACE tarvok::
    FILE tarvokengineTargets.cmake
    DESTINATION ${package_dir}
    COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/tarvokengineConfig.cmake.in
    ${PROJECT_BINARY_DIR}/tarvokengineConfig.cmake
    INSTALL_DESTINATION ${package_dir}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tarvokengineConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/tarvokengineConfig.cmake
    ${PROJECT_BINARY_DIR}/tarvokengineConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

file(GLOB man_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.1)
install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime
    FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.gp" PATTERN man EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvokengine/examples
    COMPONENT runtime
    REGEX "/examples/(CMakeLists.txt|test)$" EXCLUDE)

# `cpack --config build/release/CPackConfig.cmake`: one package to run, one to build against.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarvokengine)
set(CPACK_PACKAGE_VENDOR tarvokengine)
set(CPACK_PACKAGE_CONTACT "tarvokengine maintainers <tarvokengine@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tarvokengine)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# What is loaded by name, where no scan of linked libraries finds it: the simulator, and LAPACK for eigen decompositions.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libngspice0, ngspice, libopenblas0 | liblapack3")
# What draws pictures of networks.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "gnuplot-nox | gnuplot, fonts-dejavu-core")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME tarvokengine-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "tarvokengine (= ${PROJECT_VERSION}), libcapnp-dev, libfmt-dev, libicu-dev, nlohmann-json3-dev")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The engine, its kernel adapter and the command-line client.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Libraries and headers for clients of the engine, and for its data formats.")
include(CPack)
