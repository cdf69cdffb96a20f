# What `cmake --install` puts where: the components "cli" (the command line, which needs no desktop) and "gui". Both
# become packages of their own (cmake/Package.cmake).

include(GNUInstallDirs)
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(made ${PROJECT_BINARY_DIR}/packaging)
set(data ${CMAKE_INSTALL_DATADIR})
set(docs ${data}/doc)

# pastille_zipped(FILE RESULT): the file as `gzip` makes it, the same from the same file.
set(packagingFiles)
function(pastille_zipped file result)
  add_custom_command(OUTPUT ${made}/${result}
    COMMAND sh -c "mkdir -p \"$(dirname \"$2\")\" && gzip -9n <\"$1\" >\"$2\"" - ${file} ${made}/${result}
    DEPENDS ${file} VERBATIM)
  set(packagingFiles ${packagingFiles} ${made}/${result} PARENT_SCOPE)
endfunction()

# pastille_package_papers(COMPONENT PACKAGE): what every package has in a folder of its name.
function(pastille_package_papers component package)
  install(FILES ${packaging}/debian/copyright ${made}/changelog.Debian.gz
    DESTINATION ${docs}/${package} COMPONENT ${component})
  install(FILES ${made}/changelog.gz DESTINATION ${docs}/${package} COMPONENT ${component} OPTIONAL)
  install(FILES ${packaging}/debian/lintian-overrides DESTINATION ${data}/lintian/overrides RENAME ${package}
    COMPONENT ${component})
endfunction()

pastille_zipped(${packaging}/debian/changelog changelog.Debian.gz)
if(EXISTS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
  pastille_zipped(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)
endif()
pastille_zipped(${packaging}/man/pastille.1 pastille.1.gz)

install(TARGETS pastille RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT cli)
install(FILES ${made}/pastille.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT cli)
install(FILES ${packaging}/completions/pastille.bash DESTINATION ${data}/bash-completion/completions RENAME pastille
  COMPONENT cli)
install(FILES ${packaging}/completions/_pastille DESTINATION ${data}/zsh/vendor-completions COMPONENT cli)
install(FILES ${packaging}/completions/pastille.fish DESTINATION ${data}/fish/vendor_completions.d COMPONENT cli)
install(FILES ${PROJECT_SOURCE_DIR}/examples/damaged.pst ${PROJECT_SOURCE_DIR}/examples/README.md
  DESTINATION ${docs}/pastille/examples COMPONENT cli)
if(TARGET pastille_manual)
  install(DIRECTORY ${PASTILLE_MANUAL_FOLDER}/ DESTINATION ${docs}/pastille/manual COMPONENT cli)
  install(FILES ${packaging}/debian/doc-base DESTINATION ${data}/doc-base RENAME pastille.manual COMPONENT cli)
endif()
pastille_package_papers(cli pastille)

if(PASTILLE_GUI)
  set(id org.pastille.Pastille)
  set(icon ${PROJECT_SOURCE_DIR}/app/resources/icons/pastille.svg)
  set(icons ${data}/icons/hicolor)
  pastille_zipped(${packaging}/man/pastille-gui.1 pastille-gui.1.gz)
  install(TARGETS pastille_gui RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT gui)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/Lang DESTINATION ${data}/pastille COMPONENT gui)
  install(FILES ${made}/pastille-gui.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT gui)
  install(FILES ${packaging}/desktop/${id}.desktop DESTINATION ${data}/applications COMPONENT gui)
  install(FILES ${packaging}/desktop/${id}.metainfo.xml DESTINATION ${data}/metainfo COMPONENT gui)
  install(FILES ${packaging}/desktop/${id}.mime.xml DESTINATION ${data}/mime/packages RENAME ${id}.xml COMPONENT gui)
  install(FILES ${icon} DESTINATION ${icons}/scalable/apps RENAME ${id}.svg COMPONENT gui)
  install(FILES ${icon} DESTINATION ${icons}/scalable/mimetypes RENAME application-vnd.ms-outlook-pst.svg
    COMPONENT gui)
  # For desktops that cannot draw the other one.
  find_program(PASTILLE_RSVG rsvg-convert)
  if(PASTILLE_RSVG)
    foreach(size 48 128)
      set(picture ${made}/${size}.png)
      add_custom_command(OUTPUT ${picture}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${made}
        COMMAND ${PASTILLE_RSVG} --width ${size} --height ${size} --output ${picture} ${icon}
        DEPENDS ${icon} VERBATIM)
      list(APPEND packagingFiles ${picture})
      install(FILES ${picture} DESTINATION ${icons}/${size}x${size}/apps RENAME ${id}.png COMPONENT gui)
    endforeach()
  else()
    message(STATUS "No rsvg-convert: the icon is installed as SVG only.")
  endif()
  pastille_package_papers(gui pastille-gui)
endif()

add_custom_target(pastille_packaging ALL DEPENDS ${packagingFiles})
