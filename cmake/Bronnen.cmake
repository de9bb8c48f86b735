# Source lists come from the folders, so that adding a class is adding its two files.
# Platform files carry a suffix and only this file decides which of them are compiled:
#   *_mac.mm, *_mac.cpp        macOS only
#   *_x11.cpp, *_pulse.cpp, *_linux.cpp   Linux only
function(tolmo_bronnen uitvoer map)
  file(GLOB_RECURSE alles CONFIGURE_DEPENDS
    ${map}/*.cpp ${map}/*.h ${map}/*.mm)
  set(gekozen "")
  foreach(bestand IN LISTS alles)
    get_filename_component(naam ${bestand} NAME_WE)
    get_filename_component(ext ${bestand} EXT)
    if(naam MATCHES "_mac$" OR ext STREQUAL ".mm" OR bestand MATCHES "/mac/")
      if(APPLE)
        list(APPEND gekozen ${bestand})
      endif()
    elseif(naam MATCHES "_(x11|pulse|linux)$" OR bestand MATCHES "/linux/")
      if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        list(APPEND gekozen ${bestand})
      endif()
    else()
      list(APPEND gekozen ${bestand})
    endif()
  endforeach()
  set(${uitvoer} ${gekozen} PARENT_SCOPE)
endfunction()
