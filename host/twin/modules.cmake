# NETCONF's own modules, built in: libyang's package has only those of YANG itself.
set(GPON_IETF_MODULES "/usr/share/yuma/modules" CACHE PATH "Folder with the IETF's YANG modules (libyuma-base)")
set(modules
  ietf/ietf-netconf@2011-06-01.yang
  ietf/ietf-netconf-monitoring@2010-10-04.yang
  ietf/ietf-netconf-with-defaults@2011-06-01.yang
  ietf/ietf-netconf-notifications@2012-02-06.yang
  ietf-derived/nc-notifications.yang)
list(TRANSFORM modules PREPEND ${GPON_IETF_MODULES}/)
list(APPEND modules
  ${CMAKE_CURRENT_SOURCE_DIR}/twin/yang/notifications.yang
  ${CMAKE_CURRENT_SOURCE_DIR}/twin/yang/gpon-twin-confirm.yang
  ${CMAKE_CURRENT_SOURCE_DIR}/twin/yang/gpon-twin-default.yang
  ${CMAKE_CURRENT_SOURCE_DIR}/twin/yang/gpon-twin-history.yang
  ${CMAKE_CURRENT_SOURCE_DIR}/twin/yang/gpon-twin-reject.yang)
set(server_texts ${CMAKE_CURRENT_BINARY_DIR}/server_yang_texts.cpp)
add_custom_command(
  OUTPUT ${server_texts}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${server_texts} "-DINPUTS=${modules}" -DFUNCTION=server_yang_texts
          -DHEADER=twin/server_modules.h -P ${PROJECT_SOURCE_DIR}/cmake/embed.cmake
  DEPENDS ${modules} ${PROJECT_SOURCE_DIR}/cmake/embed.cmake
  COMMENT "Embedding NETCONF's modules"
  VERBATIM)
target_sources(gpon_twin PRIVATE ${server_texts})
