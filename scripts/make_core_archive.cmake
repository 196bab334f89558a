# Builds the core archive from core_resources/: every file, plus sha1.txt, the identity of the
# contents (SHA-1 over each file's path and SHA-1, in path order), all deflated.
# Usage: cmake -DSOURCE=dir -DSTAGE=dir -DOUTPUT=file.zip -P make_core_archive.cmake
file(REMOVE_RECURSE "${STAGE}")
file(MAKE_DIRECTORY "${STAGE}")
file(GLOB_RECURSE files RELATIVE "${SOURCE}" "${SOURCE}/*")
list(REMOVE_ITEM files sha1.txt)
list(SORT files)

set(manifest "")
foreach(file IN LISTS files)
  file(SHA1 "${SOURCE}/${file}" digest)
  string(APPEND manifest "${file}\n${digest}\n")
  get_filename_component(folder "${STAGE}/${file}" DIRECTORY)
  file(MAKE_DIRECTORY "${folder}")
  file(COPY_FILE "${SOURCE}/${file}" "${STAGE}/${file}")
endforeach()
string(SHA1 identity "${manifest}")
file(WRITE "${STAGE}/sha1.txt" "${identity}")

# Paths in the archive are relative to the stage.
list(PREPEND files version.txt sha1.txt)
list(REMOVE_DUPLICATES files)
execute_process(
  COMMAND ${CMAKE_COMMAND} -E chdir "${STAGE}" ${CMAKE_COMMAND} -DOUTPUT=${OUTPUT} "-DFILES=${files}" -P
          "${CMAKE_CURRENT_LIST_DIR}/zip_files.cmake"
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "could not write ${OUTPUT}")
endif()
