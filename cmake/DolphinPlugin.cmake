# Dolphin's overlay plugin (plugins/dolphin) is its own project: it needs Qt 5
# with KF5, or Qt 6 with KF6, and Qt 5 can't join this Qt 6 build. It is built
# alongside when either KIO development package is installed; its package comes
# from `cpack` in its build folder.
find_path(DOTWISE_KF6KIO_DIR KF6KIOConfig.cmake PATH_SUFFIXES cmake/KF6KIO
          PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE} /usr/lib)
find_path(DOTWISE_KF5KIO_DIR KF5KIOConfig.cmake PATH_SUFFIXES cmake/KF5KIO
          PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE} /usr/lib)
if(DOTWISE_KF6KIO_DIR OR DOTWISE_KF5KIO_DIR)
  if(DOTWISE_KF6KIO_DIR)
    message(STATUS "Dolphin overlay plugin: built against KF6 KIO (${DOTWISE_KF6KIO_DIR})")
  else()
    message(STATUS "Dolphin overlay plugin: built against KF5 KIO (${DOTWISE_KF5KIO_DIR})")
  endif()
  include(ExternalProject)
  ExternalProject_Add(dotwise_dolphin
    SOURCE_DIR ${CMAKE_SOURCE_DIR}/plugins/dolphin
    BINARY_DIR ${CMAKE_BINARY_DIR}/plugins/dolphin
    CMAKE_ARGS -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr
               -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}
    INSTALL_COMMAND ""
    BUILD_ALWAYS ON)
else()
  message(STATUS "Dolphin overlay plugin: not built, neither KF6 KIO (libkf6kio-dev) nor "
                 "KF5 KIO (libkf5kio-dev) is installed")
endif()
