# Installing TetherMedia as another project uses it: the module, the client
# library `tether` with its IPC backend, the host libraries their headers
# need, the reference server and host, the samples and the docs; a CMake
# package (find_package(TetherMedia CONFIG)) with exported targets, and
# pkg-config files.
#
# Included last, once every target exists, so that the targets' own
# CMakeLists stay about building.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(TETHER_INSTALL "Add the install rules and the CMake and pkg-config packages" ON)
if(NOT TETHER_INSTALL)
  return()
endif()

# Headers land under one folder of their own, so that <kilncore/...> or
# <tether/...> never meet another package's headers of the same name.
set(TETHER_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/tethermedia")
set(TETHER_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/TetherMedia")

# Shared libraries in dependency order; all are exported.
set(TETHER_INSTALLED_LIBRARIES
  kilncore kilnmediatypes kilnaudiotoolkit Crate SillFoundation Riffle ProjectXML Keel DRInterfaces
  tether Pane FarsideClient Wharf kilnui kilnloomfactory kilnworkspace tether_wire tether_ipc TetherMedia)
# Interface targets that the libraries' link interfaces name.
set(TETHER_INSTALLED_INTERFACES tether_rapidjson)

# The ABI may change with every minor version until 1.0.
set(TETHER_SOVERSION "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")

foreach(target IN LISTS TETHER_INSTALLED_LIBRARIES TETHER_INSTALLED_INTERFACES)
  if(NOT TARGET ${target})
    message(FATAL_ERROR "TetherInstall: no target ${target}")
  endif()
  # Include folders of the source tree hold for the build only; installed,
  # every header is below one folder.
  get_target_property(type ${target} TYPE)
  get_target_property(folders ${target} INTERFACE_INCLUDE_DIRECTORIES)
  if(folders)
    set(wrapped)
    foreach(folder IN LISTS folders)
      if(folder MATCHES "^\\$<" OR NOT folder MATCHES "^(${PROJECT_SOURCE_DIR}|${PROJECT_BINARY_DIR})")
        list(APPEND wrapped "${folder}")
      else()
        list(APPEND wrapped "$<BUILD_INTERFACE:${folder}>")
      endif()
    endforeach()
    list(APPEND wrapped "$<INSTALL_INTERFACE:${TETHER_INSTALL_INCLUDEDIR}>")
    list(REMOVE_DUPLICATES wrapped)
    set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${wrapped}")
  endif()
  if(type STREQUAL "SHARED_LIBRARY")
    set_target_properties(${target} PROPERTIES
      VERSION "${PROJECT_VERSION}"
      SOVERSION "${TETHER_SOVERSION}"
      # Installed, the libraries find each other beside themselves.
      INSTALL_RPATH "$ORIGIN")
  endif()
endforeach()

foreach(program tether-server tetherhost)
  set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endforeach()

install(TARGETS ${TETHER_INSTALLED_LIBRARIES} ${TETHER_INSTALLED_INTERFACES}
  EXPORT TetherMediaTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION "${TETHER_INSTALL_INCLUDEDIR}")
# The IPC backend finds the server in ../bin beside its own library folder.
install(TARGETS tether-server tetherhost RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)

# Headers: the module's, the client library's (API, wire, IPC backend) and the
# host libraries' that those include.
install(DIRECTORY
    "${PROJECT_SOURCE_DIR}/include/"
    "${PROJECT_SOURCE_DIR}/tether/include/"
    "${PROJECT_SOURCE_DIR}/tether/wire/include/"
    "${PROJECT_SOURCE_DIR}/tether/ipc/include/"
    "${PROJECT_SOURCE_DIR}/platform/"
  DESTINATION "${TETHER_INSTALL_INCLUDEDIR}" COMPONENT development
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

install(EXPORT TetherMediaTargets
  NAMESPACE TetherMedia::
  DESTINATION "${TETHER_INSTALL_CMAKEDIR}" COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/TetherMediaConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/TetherMediaConfig.cmake"
  INSTALL_DESTINATION "${TETHER_INSTALL_CMAKEDIR}"
  PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_DATADIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TetherMediaConfigVersion.cmake"
  VERSION "${PROJECT_VERSION}"
  # Until 1.0 a minor version may break what the one before offered.
  COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/TetherMediaConfig.cmake" "${PROJECT_BINARY_DIR}/TetherMediaConfigVersion.cmake"
  DESTINATION "${TETHER_INSTALL_CMAKEDIR}" COMPONENT development)

# The prefix is found from where the .pc file lies, so that a tree installed
# with `cmake --install --prefix` elsewhere, or moved, still describes itself.
file(RELATIVE_PATH TETHER_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
foreach(package tethermedia tether)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in" "${PROJECT_BINARY_DIR}/${package}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endforeach()

install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/tethermedia/examples" COMPONENT runtime)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
install(FILES "${PROJECT_SOURCE_DIR}/README.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
