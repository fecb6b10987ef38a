# The help files: help/LANGUAGE compiled into build/.../help/r5-lqz[.LANGUAGE].chm, by the target r5lqz_help.
#
# Each language with the locale by which the viewer reads what is not HTML, the code page of that locale, and the title
# of the viewer's window. English comes in the file that a driver registers; the module finds the others beside it.
set(R5LQZ_HELP_LANGUAGES
  "en\;0x0409\;windows-1252\;R5-LQZ Printer Driver Help"
  "de\;0x0407\;windows-1252\;Hilfe zum R5-LQZ-Druckertreiber"
  "fr\;0x040c\;windows-1252\;Aide du pilote d’imprimante R5-LQZ"
  "es\;0x0c0a\;windows-1252\;Ayuda del controlador de impresora R5-LQZ"
  "zh\;0x0804\;gbk\;R5-LQZ 打印机驱动程序帮助")

find_program(R5LQZ_CHMCMD chmcmd DOC "The compiler of the help files (Debian: fp-utils)")
find_program(R5LQZ_ICONV iconv)
find_program(R5LQZ_BASH bash)
if(NOT R5LQZ_CHMCMD OR NOT R5LQZ_ICONV OR NOT R5LQZ_BASH)
  message(STATUS "chmcmd, iconv or bash is missing: the help files and the package are not built")
  return()
endif()

set(R5LQZ_HELP_FILES)
foreach(language IN LISTS R5LQZ_HELP_LANGUAGES)
  list(GET language 0 code)
  list(GET language 1 locale)
  list(GET language 2 code_page)
  list(GET language 3 title)
  if(code STREQUAL "en")
    set(name r5-lqz.chm)
  else()
    set(name r5-lqz.${code}.chm)
  endif()
  set(output ${CMAKE_BINARY_DIR}/help/${name})
  file(GLOB topics CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/help/${code}/*.html)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E env CHMCMD=${R5LQZ_CHMCMD} ICONV=${R5LQZ_ICONV}
      ${R5LQZ_BASH} ${CMAKE_SOURCE_DIR}/help/compile ${code} ${locale} ${code_page} ${title} ${output}
    DEPENDS ${topics} ${CMAKE_SOURCE_DIR}/help/style.css ${CMAKE_SOURCE_DIR}/help/compile
    COMMENT "Compiling help/${name}"
    VERBATIM)
  list(APPEND R5LQZ_HELP_FILES ${output})
endforeach()
add_custom_target(r5lqz_help ALL DEPENDS ${R5LQZ_HELP_FILES})
