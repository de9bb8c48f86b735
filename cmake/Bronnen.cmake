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
    # Folders are matched inside the project only: a checkout under a folder named "mac" or
    # "linux" must not change what is compiled.
    file(RELATIVE_PATH rel ${PROJECT_SOURCE_DIR} ${bestand})
    if(naam MATCHES "_mac(_test)?$" OR ext STREQUAL ".mm" OR rel MATCHES "(^|/)mac/")
      if(APPLE)
        list(APPEND gekozen ${bestand})
      endif()
    elseif(naam MATCHES "_(x11|pulse|linux)(_test)?$" OR rel MATCHES "(^|/)linux/")
      if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        list(APPEND gekozen ${bestand})
      endif()
    else()
      list(APPEND gekozen ${bestand})
    endif()
  endforeach()
  set(${uitvoer} ${gekozen} PARENT_SCOPE)
endfunction()
