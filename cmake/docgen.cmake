# Run by the build (cmake -P): asks the built vkconfig for its vocabulary
# dump, has vk_docgen write the manual pages and the completion from it, and
# keeps a compressed copy of each page for installing.
# Variables: PROGRAM DOCGEN SHARE TEMPLATES FUNCTIONS VERSION WORK OUT PAGES.

# The dump must come from the tree just built, whatever the builder's
# environment points at; the trace stays in the build tree.
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env --unset=VK_PLUGIN --unset=VK_SHARE_DIR --unset=VK_AGENT_DIR
          --unset=VK_HOST_CONF SystemRoot=${WORK} ${PROGRAM} --describe
  OUTPUT_FILE ${WORK}/describe.json
  ERROR_VARIABLE err
  RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} --describe failed (${rc}): ${err}")
endif()

execute_process(
  COMMAND ${DOCGEN} --dump ${WORK}/describe.json --catalogue ${SHARE}/vk/messages.txt
          --profiles ${SHARE}/vk/profiles --templates ${TEMPLATES} --functions ${FUNCTIONS}
          --version ${VERSION} --out ${OUT}
  RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "vk_docgen failed (${rc})")
endif()

# Installed pages are compressed, without a name or time stamp inside, so
# that the same sources give the same package.
foreach(page IN LISTS PAGES)
  get_filename_component(dir ${WORK}/man/${page} DIRECTORY)
  file(MAKE_DIRECTORY ${dir})
  execute_process(COMMAND gzip -9nc ${OUT}/share/man/${page}
                  OUTPUT_FILE ${WORK}/man/${page}.gz RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "gzip ${page} failed (${rc})")
  endif()
endforeach()
