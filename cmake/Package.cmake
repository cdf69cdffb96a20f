# Debian packages of what is installed, made by `cpack`: "pastille", and "pastille-gui" where the desktop program is built.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pastille)
set(CPACK_PACKAGE_VENDOR "The Pastille developers")
set(CPACK_PACKAGE_CONTACT "The Pastille developers <developers@pastille.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_COMPONENTS_ALL cli)
if(PASTILLE_GUI)
  list(APPEND CPACK_COMPONENTS_ALL gui)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# What the programs are linked with, by the versions of the symbols that they use.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(recovers "recover mail from damaged Outlook PST and OST files")
string(CONCAT what
  "Pastille reads a damaged Outlook data file page by page, rebuilds its tables,\n"
  "its folders and its items (mails with their attachments, contacts,\n"
  "appointments, tasks, journal entries and notes) from whatever is still there,\n"
  "and writes them into a new, sound PST file. The damaged file is only read.\n.\n")

set(CPACK_DEBIAN_CLI_PACKAGE_NAME pastille)
set(CPACK_COMPONENT_CLI_DESCRIPTION "${recovers} - command line\n${what}This package has the command line, which needs no display, and the manual.")

set(CPACK_DEBIAN_GUI_PACKAGE_NAME pastille-gui)
set(CPACK_COMPONENT_GUI_DESCRIPTION "${recovers} - desktop program\n${what}This package has the desktop program.")
# The libraries' own dependencies bring the process in which the web engine shows a mail.
set(CPACK_DEBIAN_GUI_PACKAGE_DEPENDS "pastille (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_GUI_PACKAGE_RECOMMENDS "qt6-wayland, shared-mime-info, xdg-utils")

include(CPack)
