# Installation, desktop integration and packaging.
include(GNUInstallDirs)

if(TARGET thimblecraft)
  if(APPLE)
    # The Mac bundle: identifier, URL scheme, automation usage text and the helper shortcut.
    set_target_properties(thimblecraft PROPERTIES
      MACOSX_BUNDLE ON
      OUTPUT_NAME Thimblecraft
      MACOSX_BUNDLE_GUI_IDENTIFIER ${THIMBLECRAFT_APP_ID}
      MACOSX_BUNDLE_BUNDLE_NAME Thimblecraft
      MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION}
      MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION}
      MACOSX_BUNDLE_INFO_PLIST ${CMAKE_SOURCE_DIR}/resources/macos/Info.plist.in)
    file(GLOB helper_shortcuts ${CMAKE_SOURCE_DIR}/resources/helper/*.shortcut)
    if(helper_shortcuts)
      target_sources(thimblecraft PRIVATE ${helper_shortcuts})
      set_source_files_properties(${helper_shortcuts} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
    endif()
    install(TARGETS thimblecraft BUNDLE DESTINATION .)
  else()
    install(TARGETS thimblecraft RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endif()

if(NOT APPLE AND TARGET render_app_icon)
  install(FILES resources/linux/${THIMBLECRAFT_APP_ID}.desktop
          DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES resources/linux/${THIMBLECRAFT_APP_ID}.metainfo.xml
          DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
  file(GLOB helper_shortcuts ${CMAKE_SOURCE_DIR}/resources/helper/*.shortcut)
  if(helper_shortcuts)
    install(FILES ${helper_shortcuts} DESTINATION ${CMAKE_INSTALL_DATADIR}/thimblecraft)
  endif()
  # The application icon, drawn at build time at the usual hicolor sizes.
  set(icon_files)
  foreach(size 16 24 32 48 64 128 256 512)
    set(png ${CMAKE_BINARY_DIR}/icons/${size}/${THIMBLECRAFT_APP_ID}.png)
    add_custom_command(OUTPUT ${png}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/icons/${size}
      COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen $<TARGET_FILE:render_app_icon> ${size} ${png}
      DEPENDS render_app_icon VERBATIM)
    list(APPEND icon_files ${png})
    install(FILES ${png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
  endforeach()
  add_custom_target(app_icons ALL DEPENDS ${icon_files})
endif()

set(CPACK_PACKAGE_NAME thimblecraft)
set(CPACK_PACKAGE_VENDOR "The Thimblecraft developers")
set(CPACK_PACKAGE_CONTACT "The Thimblecraft developers <hello@thimblecraft.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Organise, find and run your shortcuts")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, so shlibdeps cannot see them.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qt6-qpa-plugins, qt6-image-formats-plugins, fonts-materialdesignicons-webfont")
# Names of shortcuts often carry emoji; without a colour emoji font they show as empty boxes.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-noto-color-emoji")
set(CPACK_STRIP_FILES ON)
include(CPack)
