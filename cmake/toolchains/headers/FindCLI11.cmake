include(${CMAKE_CURRENT_LIST_DIR}/HeaderLibrary.cmake)
header_library(CLI11::CLI11 CLI)
