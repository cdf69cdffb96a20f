# cmake -D CMARK=... -D SOURCE=... -D PAGE=... -D OUTPUT=... -D VERSION=... -P ManualPage.cmake
# Makes one page of the manual: its Markdown, the navigation and the template.

execute_process(COMMAND ${CMARK} --extension table --to html ${SOURCE}/${PAGE}.md
  OUTPUT_VARIABLE body COMMAND_ERROR_IS_FATAL ANY)
# In the sources pages name each other as files, so that their links work wherever Markdown is shown.
string(REGEX REPLACE "href=\"([a-z-]+)\\.md([\"#])" "href=\"\\1.html\\2" body "${body}")
string(REPLACE "href=\"../schema/" "href=\"schema/" body "${body}")
# A heading's words are its name, for links into a page; a table that is wider than the window scrolls. The headings come
# one by one, not as a list: the semicolon of an entity such as &amp; would part one.
string(REGEX MATCH "<h[23]>[^\n]*</h[23]>" heading "${body}")
while(heading)
  string(REGEX REPLACE "<[^>]*>|&[a-z]+;" "" name "${heading}")
  string(TOLOWER "${name}" name)
  string(REGEX REPLACE "[^a-z0-9]+" "-" name "${name}")
  string(REGEX REPLACE "^-|-$" "" name "${name}")
  string(REGEX REPLACE "^<h([23])>" "<h\\1 id=\"${name}\">" withName "${heading}")
  string(REPLACE "${heading}" "${withName}" body "${body}")
  string(REGEX MATCH "<h[23]>[^\n]*</h[23]>" heading "${body}")
endwhile()
string(REPLACE "<table>" "<div class=\"table\"><table>" body "${body}")
string(REPLACE "</table>" "</table></div>" body "${body}")

string(REGEX MATCH "<h1>([^\n]*)</h1>" ignored "${body}")
set(title "${CMAKE_MATCH_1}")
set(navigation)
file(STRINGS ${SOURCE}/pages.txt lines REGEX "^[a-z]")
foreach(line IN LISTS lines)
  string(REGEX MATCH "^([a-z-]+) +(.*)$" ignored "${line}")
  set(here)
  if(CMAKE_MATCH_1 STREQUAL PAGE)
    set(here " aria-current=\"page\"")
  endif()
  string(APPEND navigation "<li><a href=\"${CMAKE_MATCH_1}.html\"${here}>${CMAKE_MATCH_2}</a></li>\n")
endforeach()

file(READ ${CMAKE_CURRENT_LIST_DIR}/ManualPage.html.in page)
foreach(part title navigation body VERSION)
  string(REPLACE "@${part}@" "${${part}}" page "${page}")
endforeach()
file(WRITE ${OUTPUT} "${page}")
