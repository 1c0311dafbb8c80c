# A product that is built against an installed copy, in a folder that has nothing else; then the copy is moved
# away, with the product installed in it, and everything runs from there.
include(${CMAKE_CURRENT_LIST_DIR}/product.cmake)

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
file(COPY ${SOURCE}/examples/ DESTINATION ${WORK}/product)

# In the build tree, where hosts and modules have a folder of their own.
configure_product(${WORK}/product ${WORK}/build -D CMAKE_BUILD_TYPE=Release
    -D CMAKE_PREFIX_PATH=${WORK}/installed
    -D CMAKE_INSTALL_PREFIX=${WORK}/installed)
run(${CMAKE_COMMAND} --build ${WORK}/build --parallel)
run_demo(${WORK}/build/demo/demo ${WORK}/build/demo/autoreg.dat)

run(${CMAKE_COMMAND} --install ${WORK}/build)
file(RENAME ${WORK}/installed ${WORK}/moved)
file(REMOVE_RECURSE ${WORK}/build)
file(GLOB_RECURSE library ${WORK}/moved/libtessel.so.1)
cmake_path(GET library PARENT_PATH library_folder)
file(GLOB scanned RELATIVE ${library_folder} ${library_folder}/*.dll)
if(NOT scanned STREQUAL "lamps.dll;shop.dll")
    message(FATAL_ERROR "the folder that is scanned holds: ${scanned}")
endif()
file(WRITE ${library_folder}/notes.dll "no module\n")
run_demo(${WORK}/moved/bin/demo ${library_folder}/autoreg.dat)
run(${WORK}/moved/bin/tessel check ${library_folder}/lamps.dll ${library_folder}/shop.dll)
run(${WORK}/moved/bin/tessel classes)

# The package itself has moved, too.
configure_product(${WORK}/product ${WORK}/build -D CMAKE_BUILD_TYPE=Debug -D CMAKE_PREFIX_PATH=${WORK}/moved)
run(${CMAKE_COMMAND} --build ${WORK}/build --target lamps)
