# add_module(NAME USES modules SHOWS libraries HIDES libraries)
#
# One folder, one static library. USES: modules of ours below this one. SHOWS: libraries that our
# headers include. HIDES: libraries that only our sources include.
#
# Headers are included as "module/File.h" and reached only through the include root of a module
# that is used, so an include that points up, or sideways without a USES, is "No such file".
function(add_module name)
  cmake_parse_arguments(ARG "" "" "USES;SHOWS;HIDES" ${ARGN})
  foreach(module IN LISTS ARG_USES)
    if(NOT TARGET ${module})
      message(FATAL_ERROR "${name} may not use ${module}: it comes later in the root list")
    endif()
  endforeach()

  set(root ${PROJECT_BINARY_DIR}/include-roots/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${name} SYMBOLIC)

  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${root})
  target_link_libraries(${name} PUBLIC ${ARG_USES} ${ARG_SHOWS} PRIVATE ${ARG_HIDES} warnings)

  # Compiles every header alone. On its own target: moc would run twice on a header that it met
  # by both names.
  file(GLOB headers CONFIGURE_DEPENDS ${root}/${name}/*.h)
  add_library(${name}_headers INTERFACE)
  target_sources(${name}_headers INTERFACE FILE_SET HEADERS BASE_DIRS ${root} FILES ${headers})
  target_link_libraries(${name}_headers INTERFACE ${name})
  set_target_properties(${name}_headers PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
endfunction()
