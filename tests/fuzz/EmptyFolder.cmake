# cmake -DFOLDER=<path> -P EmptyFolder.cmake: leaves <path> as an empty folder.
if(NOT FOLDER)
    message(FATAL_ERROR "FOLDER is not set")
endif()
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
