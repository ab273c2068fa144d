# orvo_add_driver(PROGID SOURCES...): a target of that name, which makes the driver library PROGID.so.
function(orvo_add_driver progid)
  add_library(${progid} MODULE ${ARGN})
  # What the driver took of the core stays its own: two drivers in one process do not meet.
  set_target_properties(${progid} PROPERTIES PREFIX "" SUFFIX .so CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${progid} PRIVATE ORVOBusiness::orvobusiness)
  target_link_options(${progid} PRIVATE -Wl,--no-undefined -Wl,--exclude-libs,ALL)
endfunction()
