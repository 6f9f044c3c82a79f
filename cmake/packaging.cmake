# The files that `cmake --install` installs beside the program and the core, and the Debian packages.

include(GNUInstallDirs)

foreach(name IN ITEMS lumomixcalc lumomixcalc-coherence lumomixcalc-slurm)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/${name}.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT program)
  # bash looks for a completion by the program's name.
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/lumomixcalc.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ${name}
    COMPONENT program)
endforeach()
install(PROGRAMS
    ${PROJECT_SOURCE_DIR}/packaging/lumomixcalc-coherence
    ${PROJECT_SOURCE_DIR}/packaging/lumomixcalc-slurm
  DESTINATION ${CMAKE_INSTALL_BINDIR}
  COMPONENT program)
if(LUMOMIXCALC_PANEL)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/lumomixcalc.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications
    COMPONENT panel)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/lumomixcalc.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
    COMPONENT panel)
endif()
set(qgis_plugin ${CMAKE_INSTALL_DATADIR}/qgis/python/plugins/lumomixcalc)
configure_file(${PROJECT_SOURCE_DIR}/qgis/metadata.txt.in ${PROJECT_BINARY_DIR}/qgis/metadata.txt @ONLY)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/qgis/
  DESTINATION ${qgis_plugin}
  COMPONENT qgis
  FILES_MATCHING PATTERN *.py PATTERN *.txt PATTERN __pycache__ EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/qgis/metadata.txt ${PROJECT_SOURCE_DIR}/packaging/lumomixcalc.svg
  DESTINATION ${qgis_plugin}
  COMPONENT qgis)
# In the folders of the tree, so that links between the pages hold.
install(FILES ${PROJECT_SOURCE_DIR}/README.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT program)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT program
  FILES_MATCHING PATTERN *.md PATTERN *.png)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumomixcalc)
set(CPACK_PACKAGE_CONTACT "The LumoMixcalc developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL program development qgis)
if(LUMOMIXCALC_PANEL)
  list(APPEND CPACK_COMPONENTS_ALL panel)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME lumomixcalc)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION science)
# Finds the libraries that the program needs from those that it is linked to.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
  "The program lumomixcalc, for batch runs, with its manual pages.")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS lumomixcalc-panel)

set(CPACK_DEBIAN_PANEL_PACKAGE_NAME lumomixcalc-panel)
set(CPACK_DEBIAN_PANEL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PANEL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PANEL_PACKAGE_DEPENDS "lumomixcalc (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_PANEL_DESCRIPTION
  "The panel of lumomixcalc, with a live preview, as lumomixcalc -panel shows it.")

set(CPACK_DEBIAN_QGIS_PACKAGE_NAME lumomixcalc-qgis)
set(CPACK_DEBIAN_QGIS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_QGIS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_QGIS_PACKAGE_DEPENDS "lumomixcalc (= ${PROJECT_VERSION}), qgis, python3-qgis")
set(CPACK_COMPONENT_QGIS_DESCRIPTION
  "A plugin for QGIS, whose algorithms in the Processing toolbox run lumomixcalc.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liblumomixcalc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "The application as a static library and the headers of the host calls, for other hosts.")

include(CPack)
