# orvo_type_library(NAME IDL): compiles a type library source with widl into the current binary folder: NAME.tlb, NAME_h.h,
# NAME_i.c, and the target NAME_idl that others depend on.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(orvo_widl_bits --win64)
else()
  set(orvo_widl_bits --win32)
endif()
# stdole2.tlb is the same file for every processor.
set(orvo_stdole_folder /usr/lib/x86_64-linux-gnu/wine/x86_64-windows)

function(orvo_type_library name idl)
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${name})
  set(widl ${ORVO_WIDL} ${orvo_widl_bits} -I /usr/include/wine/wine/windows)
  add_custom_command(
    OUTPUT ${out}_h.h ${out}_i.c ${out}.tlb
    COMMAND ${widl} -h -H ${out}_h.h ${idl}
    COMMAND ${widl} -u -o ${out}_i.c ${idl}
    COMMAND ${widl} -L ${orvo_stdole_folder} -t -o ${out}.tlb ${idl}
    DEPENDS ${idl}
    COMMENT "Type library ${name}"
    VERBATIM)
  add_custom_target(${name}_idl DEPENDS ${out}_h.h ${out}_i.c ${out}.tlb)
endfunction()
