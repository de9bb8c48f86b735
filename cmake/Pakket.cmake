# Two Debian packages from one build tree (`cmake --preset pakket`, then `cpack` in it):
#   tolmo         the desktop app, the command-line tool, menu entry, icon, AppStream data, man pages
#   tolmo-server  the relay server, its systemd unit, configuration file and system user
# Dependencies come from dpkg-shlibdeps on the binaries; only what no binary links is named here.
set(TOLMO_PAKKET_VERSIE "${PROJECT_VERSION}" CACHE STRING
  "Version the Debian packages carry (a lower one makes the package an upgrade starts from)")
set(TOLMO_PAKKET_MAP ${PROJECT_SOURCE_DIR}/pakket)
set(TOLMO_PAKKET_BOUW ${PROJECT_BINARY_DIR}/pakket)

# The changelog's date and the release date in the AppStream data; SOURCE_DATE_EPOCH, when set,
# makes them reproducible.
string(TIMESTAMP TOLMO_PAKKET_TIJD "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(TIMESTAMP TOLMO_PAKKET_DATUM "%Y-%m-%d" UTC)
set(CPACK_PACKAGE_CONTACT "Tolmo-ontwikkelaars <ontwikkelaars@tolmo.app>")

# Debian wants man pages and changelogs compressed, without a time stamp in the gzip header.
find_program(TOLMO_GZIP gzip REQUIRED)
set(TOLMO_PAKKET_GZ "")
function(tolmo_pakket_gz bron doel)
  configure_file(${bron} ${TOLMO_PAKKET_BOUW}/${doel} @ONLY)
  add_custom_command(OUTPUT ${TOLMO_PAKKET_BOUW}/${doel}.gz
    COMMAND ${TOLMO_GZIP} -9nkf ${TOLMO_PAKKET_BOUW}/${doel}
    DEPENDS ${TOLMO_PAKKET_BOUW}/${doel} VERBATIM)
  set(TOLMO_PAKKET_GZ ${TOLMO_PAKKET_GZ} ${TOLMO_PAKKET_BOUW}/${doel}.gz PARENT_SCOPE)
endfunction()

tolmo_pakket_gz(${TOLMO_PAKKET_MAP}/changelog.in changelog)
set(TOLMO_PAKKET_DOC_app tolmo)
set(TOLMO_PAKKET_DOC_server tolmo-server)
set(componenten "")
if(TOLMO_APP)
  list(APPEND componenten app)
  tolmo_pakket_gz(${TOLMO_PAKKET_MAP}/tolmo.1 tolmo.1)
  tolmo_pakket_gz(${TOLMO_PAKKET_MAP}/tolmo-app.1 tolmo-app.1)
  tolmo_pakket_gz(${TOLMO_PAKKET_MAP}/tolmo-bediening.1 tolmo-bediening.1)
  configure_file(${TOLMO_PAKKET_MAP}/app.tolmo.Tolmo.metainfo.xml
    ${TOLMO_PAKKET_BOUW}/app.tolmo.Tolmo.metainfo.xml @ONLY)
  install(FILES ${TOLMO_PAKKET_BOUW}/tolmo.1.gz ${TOLMO_PAKKET_BOUW}/tolmo-app.1.gz
    ${TOLMO_PAKKET_BOUW}/tolmo-bediening.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT app)
  install(FILES ${TOLMO_PAKKET_BOUW}/app.tolmo.Tolmo.metainfo.xml
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/metainfo COMPONENT app)
endif()
if(TOLMO_SERVER)
  list(APPEND componenten server)
  tolmo_pakket_gz(${TOLMO_PAKKET_MAP}/tolmo-server.8 tolmo-server.8)
  install(FILES ${TOLMO_PAKKET_BOUW}/tolmo-server.8.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT server)
  # The database lives in the unit's StateDirectory, which systemd puts under /var/lib whatever
  # the prefix (and ProtectSystem=strict leaves only that writable).
  set(TOLMO_STAATMAP /var/lib/tolmo-server)
  configure_file(${TOLMO_PAKKET_MAP}/tolmo-server.conf ${TOLMO_PAKKET_BOUW}/tolmo-server.conf @ONLY)
  install(FILES ${TOLMO_PAKKET_BOUW}/tolmo-server.conf
    DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/tolmo-server COMPONENT server)
endif()
foreach(c IN LISTS componenten)
  install(FILES ${TOLMO_PAKKET_MAP}/copyright ${TOLMO_PAKKET_BOUW}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${TOLMO_PAKKET_DOC_${c}} COMPONENT ${c})
endforeach()
add_custom_target(pakketbestanden ALL DEPENDS ${TOLMO_PAKKET_GZ})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tolmo)
set(CPACK_PACKAGE_VERSION ${TOLMO_PAKKET_VERSIE})
set(CPACK_PACKAGE_VENDOR "Tolmo")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://tolmo.app/")
# Absolute destinations (/etc, /lib/systemd) land in the package, not on the building machine.
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL ${componenten})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Control files get Debian's modes (0755 scripts, 0644 lists) whatever the checkout's are.
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_APP_PACKAGE_NAME tolmo)
set(CPACK_DEBIAN_APP_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_APP_DESCRIPTION "dicteren met één toets, in elke app
Houd een toets ingedrukt, spreek in elke mix van talen en laat los: de
opgeschoonde tekst staat in de app en het veld waar je was, en je klembord
krijgt zijn oude inhoud terug. tolmo-app draait onder X11 en Wayland;
tolmo-bediening is het commando dat sneltoetsen van een Wayland-compositor
uitvoeren; het commando tolmo dicteert bestanden en zet sleutels en
instellingen. De herkenning loopt via je eigen sleutel bij OpenAI of Mistral,
of via een Tolmo-server.")
# The app loads these at run time instead of linking them: Qt's X11 platform plugin and its SVG
# icon engine, the sound server it records from, the accessibility bus and the keyring; TLS to the
# speech services checks their certificates against Debian's store.
set(CPACK_DEBIAN_APP_PACKAGE_DEPENDS "qt6-qpa-plugins, ca-certificates")
set(CPACK_DEBIAN_APP_PACKAGE_RECOMMENDS
  "qt6-svg-plugins, pulseaudio | pipewire-pulse, at-spi2-core")
set(CPACK_DEBIAN_APP_PACKAGE_SUGGESTS "gnome-keyring")

set(CPACK_DEBIAN_SERVER_PACKAGE_NAME tolmo-server)
set(CPACK_DEBIAN_SERVER_PACKAGE_SECTION net)
set(CPACK_COMPONENT_SERVER_DESCRIPTION "relayserver tussen Tolmo en de spraakdiensten
Stuurt dictaten en opschoonverzoeken van Tolmo door naar OpenAI of Mistral
met de sleutels van de beheerder. Toegangscodes, minuten per dag en
verzoeklimieten staan in SQLite of in een gedeelde PostgreSQL-database. Draait
als systemd-dienst onder een eigen systeemgebruiker.")
# adduser makes the service's user at installation; the certificates verify the providers.
set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS "adduser, ca-certificates")
set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA
  ${TOLMO_PAKKET_MAP}/tolmo-server/conffiles ${TOLMO_PAKKET_MAP}/tolmo-server/postinst
  ${TOLMO_PAKKET_MAP}/tolmo-server/prerm ${TOLMO_PAKKET_MAP}/tolmo-server/postrm)

include(CPack)
