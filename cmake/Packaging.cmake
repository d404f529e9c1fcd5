# The Debian package (scripts/package.sh): the program, its desktop entry, icons and AppStream
# metadata, as installed by the install rules of app/. Library dependencies are computed by
# dpkg-shlibdeps from what the program links; what it only loads at run time — the QML modules of
# the interface, libVLC's plug-ins, the Secret Service library that QtKeychain opens — no tool can
# see, so those packages are named here.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quenvo)
set(CPACK_PACKAGE_VENDOR Quenvo)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "IPTV player for your own channels, movies and series")
set(CPACK_PACKAGE_DESCRIPTION "Quenvo is a desktop IPTV player. It ships no channels: connect your own M3U
playlists or Xtream Codes accounts and watch their live channels, movies and series.")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://quenvo.app")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Quenvo <hola@quenvo.app>")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qml6-module-qtqml, qml6-module-qtquick, qml6-module-qtquick-window, \
qml6-module-qtquick-controls, qml6-module-qtquick-templates, qml6-module-qtquick-layouts, \
qml6-module-qtqml-workerscript, qml6-module-qtquick-dialogs, qml6-module-qt-labs-folderlistmodel, \
libqt6svg6, vlc-plugin-base, libsecret-1-0")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libvlc-bin, gnome-keyring | kwalletmanager")

include(CPack)
