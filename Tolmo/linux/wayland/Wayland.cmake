# The Wayland protocols the app speaks beyond the core one. Their XML files are kept here (the
# distribution's wayland-protocols may predate them) and wayland-scanner turns each into a
# client header and its interface tables at build time.
# GLOBAL: the tests generate a protocol of their own with the same function.
pkg_check_modules(WAYLAND REQUIRED IMPORTED_TARGET GLOBAL wayland-client xkbcommon)
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)

function(tolmo_wayland_protocollen doel)
  set(uit ${CMAKE_CURRENT_BINARY_DIR}/wayland)
  file(MAKE_DIRECTORY ${uit})
  foreach(xml IN LISTS ARGN)
    get_filename_component(naam ${xml} NAME_WE)
    add_custom_command(
      OUTPUT ${uit}/${naam}-client-protocol.h ${uit}/${naam}-protocol.c
      COMMAND ${WAYLAND_SCANNER} client-header ${xml} ${uit}/${naam}-client-protocol.h
      COMMAND ${WAYLAND_SCANNER} private-code ${xml} ${uit}/${naam}-protocol.c
      DEPENDS ${xml}
      COMMENT "wayland-scanner ${naam}"
      VERBATIM)
    target_sources(${doel} PRIVATE ${uit}/${naam}-client-protocol.h ${uit}/${naam}-protocol.c)
  endforeach()
  # Generated C code: our warnings are not for it (clang flags its casts in C++).
  target_include_directories(${doel} SYSTEM PRIVATE ${uit})
  target_link_libraries(${doel} PRIVATE PkgConfig::WAYLAND)
endfunction()

file(GLOB TOLMO_WAYLAND_XML CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/protocollen/*.xml)
tolmo_wayland_protocollen(TolmoApp ${TOLMO_WAYLAND_XML})
# KWinFocus: a private connection to the session bus whose descriptor the app's loop watches.
pkg_check_modules(DBUS REQUIRED IMPORTED_TARGET dbus-1)
target_link_libraries(TolmoApp PRIVATE PkgConfig::DBUS)
