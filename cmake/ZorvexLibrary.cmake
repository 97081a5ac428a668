# libzorvex.so, the same objects as an archive for the unit tests, and what is installed.

set(ZORVEX_LAYERS zorvex_foundation zorvex_platform_linux zorvex_platform zorvex_capture)

add_library(zorvex SHARED)
add_library(zorvex::zorvex ALIAS zorvex)
set_target_properties(zorvex PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
# Types and threads outlive a dlclose, as GObject's types do; the code stays mapped for them.
target_link_options(zorvex PRIVATE
  -Wl,-z,nodelete -Wl,-z,defs -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/zorvex.map)
if(ZORVEX_SANITIZE)
  set_property(TARGET zorvex APPEND PROPERTY LINK_OPTIONS -Wl,-z,undefs)
endif()
set_property(TARGET zorvex APPEND PROPERTY LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/zorvex.map")
target_include_directories(zorvex INTERFACE
  "$<BUILD_INTERFACE:${ZORVEX_INCLUDE_ROOT}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
target_compile_features(zorvex INTERFACE cxx_std_20)

add_library(zorvex_internal STATIC)
target_link_libraries(zorvex_internal PUBLIC ${ZORVEX_LAYERS})
target_link_libraries(zorvex PRIVATE ${ZORVEX_LAYERS})
# What loading the library does is in a file that nobody refers to: from an archive it has to be asked
# for.
target_link_options(zorvex_internal INTERFACE LINKER:--undefined=gdwMainThreadId)
set_target_properties(zorvex zorvex_internal PROPERTIES LINKER_LANGUAGE CXX)

# Installed: the two entry headers, and the headers they and the classes behind them include.
install(TARGETS zorvex EXPORT zorvexTargets LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(FILES capture/zorvex.h foundation/foundation.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zorvex")
set(ZORVEX_PUBLIC_HEADERS
  capture/slotfield.h
  capture/zorvex.h
  capture/zorvexdevice.h
  capture/zorvexdeviceformat.h
  foundation/debug/debug.h
  foundation/debug/debugthread.h
  foundation/debug/hangdetector.h
  foundation/export.h
  foundation/files/bufferedreader.h
  foundation/files/file.h
  foundation/files/filenames.h
  foundation/files/filereader.h
  foundation/files/filewriter.h
  foundation/files/flocktimed.h
  foundation/files/folderiterator.h
  foundation/files/lockfile.h
  foundation/files/pipe.h
  foundation/files/processcopy.h
  foundation/files/processtransfer.h
  foundation/store/applicationsettings.h
  foundation/store/base64.h
  foundation/store/blowfish.h
  foundation/store/cfstring.h
  foundation/store/datfile.h
  foundation/store/hashtable.h
  foundation/store/hiddensettings.h
  foundation/store/list.h
  foundation/store/rbtree.h
  foundation/store/settingcipher.h
  foundation/store/settingkeys.h
  foundation/store/settingsrecord.h
  foundation/store/sharedsettings.h
  foundation/store/sizedarray.h
  foundation/store/stringlongkey.h
  foundation/store/uricodec.h
  foundation/store/usersettings.h
  foundation/store/xmldocument.h
  foundation/store/xmlelement.h
  foundation/store/xmlloader.h
  foundation/store/xmlsettings.h
  foundation/system/administrator.h
  foundation/system/application.h
  foundation/system/commandline.h
  foundation/system/desktop.h
  foundation/system/gpu.h
  foundation/system/locale.h
  foundation/system/memory.h
  foundation/system/processlist.h
  foundation/system/shell.h
  foundation/system/tcp.h
  foundation/system/unixapp.h
  foundation/system/users.h
  foundation/system/versions.h
  foundation/text/charsets.h
  foundation/text/codepages.h
  foundation/text/stringformat.h
  foundation/text/stringhelpers.h
  foundation/text/stringlong.h
  foundation/text/stringshort.h
  foundation/text/stringwriter.h
  foundation/text/textfile.h
  foundation/text/texttonumber.h
  foundation/threads/detachedthread.h
  foundation/threads/lockobject.h
  foundation/threads/mainthread.h
  foundation/threads/namedevent.h
  foundation/threads/processinterface.h
  foundation/threads/queuednotify.h
  foundation/threads/runonmainthread.h
  foundation/threads/signalobject.h
  foundation/threads/systemlock.h
  foundation/threads/thread.h
  foundation/threads/threadnotifyinterface.h
  foundation/time/datetime.h
  foundation/time/daytime.h
  foundation/time/soundtime.h
  platform/audioconverter.h
  platform/captureplatform.h
  platform/cfstring.h
  platform/coreaudiotypes.h
  platform/cvpixelbuffer.h
  platform/eventqueue.h
  platform/fourcharcode.h
  platform/nsobject.h
  platform/preferencesdomain.h
  platform/qtcapturedevice.h
  platform/qtcaptureoutput.h
  platform/qtcapturesession.h
  platform/qtformatdescription.h
  platform/qtsamplebuffer.h
  platform/smptetime.h)
foreach(header IN LISTS ZORVEX_PUBLIC_HEADERS)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zorvex/${folder}")
endforeach()

include(CMakePackageConfigHelpers)
set(package "${CMAKE_INSTALL_LIBDIR}/cmake/zorvex")
install(EXPORT zorvexTargets NAMESPACE zorvex:: DESTINATION "${package}" FILE zorvexTargets.cmake)
configure_package_config_file(cmake/zorvexConfig.cmake.in "${PROJECT_BINARY_DIR}/zorvexConfig.cmake"
                              INSTALL_DESTINATION "${package}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/zorvexConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/zorvexConfig.cmake" "${PROJECT_BINARY_DIR}/zorvexConfigVersion.cmake"
        DESTINATION "${package}")
# The prefix is found from where the file is: an installed copy may stand anywhere.
file(RELATIVE_PATH ZORVEX_PREFIX_FROM_PC "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/zorvex.pc.in "${PROJECT_BINARY_DIR}/zorvex.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zorvex.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
