# Tolmo.app: the menu-bar app around TolmoApp. Included from Tolmo/CMakeLists.txt on macOS only.
#
#   TOLMO_ONDERTEKENING  signing identity; "-" (the default) signs ad hoc for use on this Mac
#   TOLMO_TEAM_ID        the team of that identity
#   TOLMO_PROFIEL        a provisioning profile of that team for app.tolmo that allows the app
#                        group and the keychain group; only with it (and the team) do those two
#                        entitlements go in, since they are restricted: a restricted entitlement
#                        that no embedded profile allows stops the app at launch
#   TOLMO_SERVER_URL     the relay server's address, written into Info.plist; the user can
#                        enter another in the settings window
#
# The bundle loads nothing from outside the system and itself: the hardened runtime's library
# validation refuses libraries signed by another team or unsigned (Homebrew's), so ICU is linked
# statically (cmake/Afhankelijkheden.cmake) and SHA-256 and random bytes come from the system.

set(TOLMO_ONDERTEKENING "-" CACHE STRING "codesign identity for Tolmo.app ('-' = ad hoc)")
set(TOLMO_TEAM_ID "" CACHE STRING "Apple team ID of the signing identity")
set(TOLMO_PROFIEL "" CACHE FILEPATH "Provisioning profile allowing the app and keychain groups")
set(TOLMO_SERVER_URL "" CACHE STRING "Relay server address built into Tolmo.app")

# The adapters: ARC for every .mm, and the frameworks they translate.
target_compile_options(TolmoApp PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc -Wall>)
target_link_libraries(TolmoApp PUBLIC
  "-framework Foundation" "-framework AppKit" "-framework AVFoundation" "-framework AVFAudio"
  "-framework CoreAudio" "-framework AudioToolbox" "-framework CoreGraphics"
  "-framework ApplicationServices" "-framework Carbon" "-framework Security")

file(GLOB TOLMO_MAC_APP CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/Tolmo/mac/app/*.mm ${PROJECT_SOURCE_DIR}/Tolmo/mac/app/*.h)
add_executable(TolmoMacApp MACOSX_BUNDLE ${TOLMO_MAC_APP})
target_compile_options(TolmoMacApp PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc -Wall>)
target_link_libraries(TolmoMacApp PRIVATE TolmoApp
  "-framework Metal" "-framework MetalKit" "-framework QuartzCore" "-framework ServiceManagement")
set_target_properties(TolmoMacApp PROPERTIES
  OUTPUT_NAME Tolmo
  MACOSX_BUNDLE_INFO_PLIST ${PROJECT_SOURCE_DIR}/Tolmo/mac/Info.plist.in
  MACOSX_BUNDLE_GUI_IDENTIFIER app.tolmo
  MACOSX_BUNDLE_BUNDLE_NAME Tolmo
  MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION}
  MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION})

if(TOLMO_PROFIEL AND NOT TOLMO_TEAM_ID)
  message(FATAL_ERROR "TOLMO_PROFIEL needs TOLMO_TEAM_ID: the keychain group names the team")
endif()
if(TOLMO_PROFIEL)
  set(TOLMO_ENTITLEMENTS ${CMAKE_CURRENT_BINARY_DIR}/Tolmo.entitlements)
  configure_file(${PROJECT_SOURCE_DIR}/Tolmo/mac/Tolmo-team.entitlements.in
    ${TOLMO_ENTITLEMENTS} @ONLY)
  # The profile goes in before signing; the signature covers it.
  add_custom_command(TARGET TolmoMacApp POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy ${TOLMO_PROFIEL}
            $<TARGET_BUNDLE_CONTENT_DIR:TolmoMacApp>/embedded.provisionprofile
    VERBATIM)
else()
  set(TOLMO_ENTITLEMENTS ${PROJECT_SOURCE_DIR}/Tolmo/mac/Tolmo.entitlements)
endif()

# Hardened runtime (--options runtime): the microphone then needs its entitlement, which both
# entitlement files carry.
add_custom_command(TARGET TolmoMacApp POST_BUILD
  COMMAND codesign --force --deep --options runtime --timestamp=none
          --entitlements ${TOLMO_ENTITLEMENTS} --sign ${TOLMO_ONDERTEKENING}
          $<TARGET_BUNDLE_DIR:TolmoMacApp>
  COMMENT "Tolmo.app ondertekenen (${TOLMO_ONDERTEKENING})"
  VERBATIM)
