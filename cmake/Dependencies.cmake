# What is called and not written here; docs/architecture.md tells why each was chosen.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(fmt REQUIRED)
find_package(Qt6 REQUIRED COMPONENTS Core Gui Widgets DBus Network Svg)

foreach(name IN ITEMS
    SQLITE:sqlite3 ICU:icu-uc ICUI18N:icu-i18n SODIUM:libsodium CURL:libcurl
    X11:x11 XI:xi XTST:xtst XFIXES:xfixes XEXT:xext
    ATSPI:atspi-2 GST:gstreamer-1.0 GSTAUDIO:gstreamer-audio-1.0 GIO:gio-2.0 PULSE:libpulse
    SECRET:libsecret-1 SYSTEMD:libsystemd
    MHD:libmicrohttpd AVFORMAT:libavformat AVCODEC:libavcodec AVUTIL:libavutil
    SWRESAMPLE:libswresample)
  string(REPLACE ":" ";" pair ${name})
  list(GET pair 0 prefix)
  list(GET pair 1 module)
  pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET ${module})
endforeach()

# Debian's pocketsphinx.pc names a folder that does not exist, so its include paths are found here.
find_path(SPHINX_INCLUDE pocketsphinx.h PATH_SUFFIXES pocketsphinx REQUIRED)
find_path(SPHINXBASE_INCLUDE sphinxbase/cmd_ln.h REQUIRED)
find_library(SPHINX_LIBRARY pocketsphinx REQUIRED)
find_library(SPHINXBASE_LIBRARY sphinxbase REQUIRED)
add_library(pell_sphinx INTERFACE)
target_include_directories(pell_sphinx SYSTEM INTERFACE
  ${SPHINX_INCLUDE} ${SPHINXBASE_INCLUDE} ${SPHINXBASE_INCLUDE}/sphinxbase)
target_link_libraries(pell_sphinx INTERFACE ${SPHINX_LIBRARY} ${SPHINXBASE_LIBRARY})
