# What gets installed, and the Debian package.
include(GNUInstallDirs)

set(sigmira_share ${CMAKE_SOURCE_DIR}/share)
install(DIRECTORY ${sigmira_share}/templates/ DESTINATION ${CMAKE_INSTALL_DATADIR}/sigmira/templates)
install(DIRECTORY ${sigmira_share}/help DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
        USE_SOURCE_PERMISSIONS)
install(FILES ${sigmira_share}/applications/sigmira.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${sigmira_share}/mime/sigmira.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(FILES ${sigmira_share}/metainfo/net.sigmira.Sigmira.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(DIRECTORY ${sigmira_share}/icons/hicolor DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)
install(FILES ${sigmira_share}/completions/sigmira
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# Manual pages and the changelog are compressed as Debian wants them, without a time stamp.
find_program(GZIP_PROGRAM gzip REQUIRED)
function(install_compressed source directory name)
  set(packed ${CMAKE_BINARY_DIR}/packed/${name}.gz)
  add_custom_command(OUTPUT ${packed} DEPENDS ${source} VERBATIM
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/packed
    COMMAND sh -c "\"$1\" -9nc \"$2\" > \"$3\"" sh ${GZIP_PROGRAM} ${source} ${packed})
  string(MAKE_C_IDENTIFIER pack_${name} target)
  add_custom_target(${target} ALL DEPENDS ${packed})
  install(FILES ${packed} DESTINATION ${directory})
endfunction()
foreach(page sigmira.1 simlogger.1 vsd.5)
  string(REGEX REPLACE ".*\\." "" section ${page})
  install_compressed(${sigmira_share}/man/${page} ${CMAKE_INSTALL_MANDIR}/man${section} ${page})
endforeach()
install_compressed(${CMAKE_SOURCE_DIR}/packaging/debian-changelog ${CMAKE_INSTALL_DOCDIR} changelog)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sigmira)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Sigmira maintainers <maintainers@sigmira.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "view and analyse recordings of CAN buses")
set(CPACK_PACKAGE_DESCRIPTION
"Sigmira reads what a field logger recorded on vehicle and machine CAN buses, or
sends at this moment, decodes the frames by DBC files, computes virtual signals
and shows plots, histograms, statistics, tables and a GPS track. It writes ASC
and GPX files, and prints results for scripts without a window.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "adwaita-icon-theme")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "parallel")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
