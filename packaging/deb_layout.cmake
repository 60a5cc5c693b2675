# Run by cpack on the installed trees of all components, before they are packed:
# rearranges each as Debian has it.

file(GLOB trees "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr")
foreach(usr ${trees})
  # Libraries stand in the folder of their architecture.
  set(built "${usr}/${CPACK_QM_BUILT_LIBDIR}")
  set(wanted "${usr}/${CPACK_QM_LIBDIR}")
  file(GLOB libraries "${built}/libquaymarsh*")
  if(EXISTS "${built}/pkgconfig")
    list(APPEND libraries "${built}/pkgconfig")
  endif()
  if(libraries AND NOT built STREQUAL wanted)
    file(MAKE_DIRECTORY "${wanted}")
    foreach(path ${libraries})
      get_filename_component(name "${path}" NAME)
      file(RENAME "${path}" "${wanted}/${name}")
    endforeach()
  endif()
  if(EXISTS "${wanted}/pkgconfig")
    # Not file(COPY), which takes files of one second for the same.
    configure_file("${CPACK_QM_PC}" "${wanted}/pkgconfig/quaymarsh.pc"
                   COPYONLY)
  endif()

  # They are found there without a hint.
  if(EXISTS "${usr}/bin/quaymarsh")
    file(RPATH_REMOVE FILE "${usr}/bin/quaymarsh")
  endif()

  # zsh reads what packages bring from a folder of another name.
  if(EXISTS "${usr}/share/zsh/site-functions")
    file(RENAME "${usr}/share/zsh/site-functions"
         "${usr}/share/zsh/vendor-completions")
  endif()

  # Pages are compressed, and the same bytes each time.
  file(GLOB pages "${usr}/share/man/*/*")
  if(pages)
    execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
  endif()

  # Each package tells its licence, under its own name.
  get_filename_component(component "${usr}" DIRECTORY)
  get_filename_component(component "${component}" NAME)
  string(TOUPPER "${component}" component)
  set(doc "${usr}/share/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME}")
  file(MAKE_DIRECTORY "${doc}")
  file(REMOVE "${doc}/LICENSE")
  configure_file("${CPACK_QM_LICENSE}" "${doc}/copyright" COPYONLY)
endforeach()
