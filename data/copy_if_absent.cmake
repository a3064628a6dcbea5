if(NOT EXISTS "${DST}")
  get_filename_component(dir "${DST}" DIRECTORY)
  file(COPY "${SRC}" DESTINATION "${dir}")
endif()
