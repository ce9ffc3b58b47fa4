# Each layer's headers are reached as "<layer>/Name.h" through a folder that
# holds that layer alone, so a target sees the headers of the layers it links
# and no others: an include of a layer it doesn't depend on fails to compile.
function(dotwise_layer_headers target)
  get_filename_component(layer ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  set(root ${CMAKE_BINARY_DIR}/layers/${layer})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${layer} SYMBOLIC)
  target_include_directories(${target} PUBLIC ${root})
endfunction()
