# Removes what `cmake --install` put in place (install_manifest.txt) and then
# the directories that install created (install_directories.txt), deepest
# first, where they are empty. Run in the build tree: cmake -P Uninstall.cmake,
# with the DESTDIR the install had, if any.
# The vendor directory is never removed: it holds the sensor's data.
# A second uninstall has nothing to do, and says so.
if(NOT EXISTS install_manifest.txt)
  message(STATUS "Nothing is installed from this build tree (no install_manifest.txt): nothing to remove")
  return()
endif()
file(STRINGS install_manifest.txt files)
foreach(file IN LISTS files)
  set(file "$ENV{DESTDIR}${file}")
  if(EXISTS "${file}" OR IS_SYMLINK "${file}")
    message(STATUS "Removing: ${file}")
    file(REMOVE "${file}")
  endif()
endforeach()
if(EXISTS install_directories.txt)
  file(STRINGS install_directories.txt directories)
  list(REMOVE_DUPLICATES directories)
  list(SORT directories ORDER DESCENDING)  # a directory sorts after its parent
  foreach(directory IN LISTS directories)
    set(directory "$ENV{DESTDIR}${directory}")
    execute_process(COMMAND rmdir -- "${directory}" RESULT_VARIABLE failed ERROR_QUIET)
    if(NOT failed)
      message(STATUS "Removing: ${directory}")
    endif()
  endforeach()
  file(REMOVE install_directories.txt)
endif()
file(REMOVE install_manifest.txt)
