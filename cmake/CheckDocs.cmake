# Fails if a public header has no page in the API reference. Doxygen doesn't warn of what is not
# documented in a header without "@file", it leaves it out.
file(GLOB names RELATIVE ${headers} ${headers}/*.h)
foreach(name ${names})
  string(REPLACE ".h" "_8h.html" page ${name})
  if(NOT EXISTS ${pages}/${page})
    message(SEND_ERROR "${headers}/${name} has no @file with a description")
  endif()
endforeach()
