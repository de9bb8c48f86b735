# One set of warnings for every build type; CI turns them into errors.
set(TOLMO_WAARSCHUWINGEN
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wimplicit-fallthrough -Wsuggest-override)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Clang spells the last one differently.
  list(REMOVE_ITEM TOLMO_WAARSCHUWINGEN -Wsuggest-override)
  list(APPEND TOLMO_WAARSCHUWINGEN -Winconsistent-missing-override -Wsuggest-override)
endif()
if(TOLMO_WERROR)
  list(APPEND TOLMO_WAARSCHUWINGEN -Werror)
endif()

# Applies the project's warnings to one of our own targets (never to third-party code).
function(tolmo_waarschuwingen doel)
  target_compile_options(${doel} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${TOLMO_WAARSCHUWINGEN}>)
endfunction()
