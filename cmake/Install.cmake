# What an installation has: the client, the core as one static library with its headers, the packages that find it, the
# drivers, manual pages, completions, documents; and the Debian package of it. Linux only: Windows has a release of its own.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
find_package(Threads REQUIRED)

# One library for users; the tree keeps one per folder, so that the order of the folders is checked by every build.
set(parts orvo_errors orvo_values orvo_platform orvo_spooler orvo_model orvo_server orvo_simulated_panel orvo_driver_kit)
add_library(orvobusiness_archive STATIC)
foreach(part ${parts})
  target_sources(orvobusiness_archive PRIVATE $<TARGET_OBJECTS:${part}>)
endforeach()
set_target_properties(orvobusiness_archive PROPERTIES LINKER_LANGUAGE CXX OUTPUT_NAME orvobusiness EXPORT_NAME orvobusiness)
target_compile_features(orvobusiness_archive INTERFACE cxx_std_20)
target_link_libraries(orvobusiness_archive INTERFACE Threads::Threads ${CMAKE_DL_LIBS})

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/orvobusiness)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ORVOBusiness)
install(TARGETS orvobusiness_archive EXPORT ORVOBusinessTargets ARCHIVE INCLUDES DESTINATION ${headers})
foreach(folder errors values platform platform/portable platform/simulated spooler model server)
  file(GLOB folder_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/business/${folder}/*.h)
  install(FILES ${folder_headers} DESTINATION ${headers}/${folder})
endforeach()
file(GLOB panel_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/drivers/simulated/*.h)
install(FILES ${panel_headers} DESTINATION ${headers}/simulated)
set(kit ${PROJECT_SOURCE_DIR}/drivers/kit)
install(FILES ${kit}/DriverTestKit.h ${kit}/DriverTestPlan.h ${kit}/CheckResult.h DESTINATION ${headers}/kit)

install(EXPORT ORVOBusinessTargets NAMESPACE ORVOBusiness:: DESTINATION ${package_folder})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ORVOBusinessConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/ORVOBusinessConfig.cmake INSTALL_DESTINATION ${package_folder})
# Before version 1 every minor version may change the headers.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ORVOBusinessConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ORVOBusinessConfig.cmake ${PROJECT_BINARY_DIR}/ORVOBusinessConfigVersion.cmake
              ${CMAKE_CURRENT_LIST_DIR}/ORVODriver.cmake DESTINATION ${package_folder})
# Found from where the file lies, so that the folder can be moved.
file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/orvobusiness.pc.in ${PROJECT_BINARY_DIR}/orvobusiness.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvobusiness.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS orvo orvo-driver-test RUNTIME)
install(TARGETS simulated_panel_library LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvobusiness/drivers)
if(TARGET modbus_library)
  install(TARGETS modbus_library LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvobusiness/drivers)
  install(TARGETS orvo-modbus-plan RUNTIME)
endif()

# The client knows its commands and options best.
set(completions bash:bash-completion/completions/orvo zsh:zsh/vendor-completions/_orvo fish:fish/vendor_completions.d/orvo.fish)
foreach(completion ${completions})
  string(REGEX MATCH "^([a-z]+):(.*)/(.*)$" matched ${completion})
  set(shell ${CMAKE_MATCH_1})
  set(folder ${CMAKE_INSTALL_DATADIR}/${CMAKE_MATCH_2})
  set(file ${PROJECT_BINARY_DIR}/completions/${CMAKE_MATCH_3})
  add_custom_command(
    OUTPUT ${file}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/completions
    COMMAND orvo completion ${shell} > ${file}
    DEPENDS orvo
    VERBATIM)
  list(APPEND completion_files ${file})
  install(FILES ${file} DESTINATION ${folder})
endforeach()
add_custom_target(orvo_completions ALL DEPENDS ${completion_files})

file(GLOB manual_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.1)
foreach(page ${manual_pages})
  get_filename_component(name ${page} NAME)
  configure_file(${page} ${PROJECT_BINARY_DIR}/man/${name} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/man/${name} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
file(GLOB documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md)
# Laid out as in the tree, so that the pages find each other.
set(pages ${CMAKE_INSTALL_DATADIR}/doc/orvobusiness)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${pages})
install(FILES ${documents} DESTINATION ${pages}/docs)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/samples/driver ${PROJECT_SOURCE_DIR}/samples/cpp-linux DESTINATION ${pages}/samples)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvobusiness)
set(CPACK_PACKAGE_CONTACT "ORVOBusiness <orvobusiness@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "data server for operator panels: command-line client, library, driver kit")
set(CPACK_PACKAGE_DESCRIPTION
    "Reads and writes the variables of an industrial operator panel: groups and items, synchronous and asynchronous requests, \
periodic refresh with change events, saved configurations, pluggable communication drivers, downloads. With the command-line \
client orvo, the C++ library, a simulated panel and a test kit for drivers.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "g++, cmake, pkg-config")
include(CPack)
