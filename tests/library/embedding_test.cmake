# The example product with the source tree within its own.
include(${CMAKE_CURRENT_LIST_DIR}/product.cmake)

file(REMOVE_RECURSE ${WORK})
configure_product(${CMAKE_CURRENT_LIST_DIR}/embedding ${WORK} -D TESSEL_SOURCE=${SOURCE})
run(${CMAKE_COMMAND} --build ${WORK} --parallel)
run_demo(${WORK}/demo/demo ${WORK}/demo/autoreg.dat)
