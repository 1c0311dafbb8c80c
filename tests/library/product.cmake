# What the tests of installing and embedding have in common.

function(run)
    list(JOIN ARGN " " words)
    message(STATUS ${words})
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(configure_product source build)
    run(${CMAKE_COMMAND} -S ${source} -B ${build} -G ${GENERATOR} -D CMAKE_CXX_COMPILER=${COMPILER} ${ARGN})
endfunction()

# Twice: as the run that scans, and as one that knows the modules.
function(run_demo host cache)
    file(REMOVE ${cache})
    run(${host} first)
    run(${host})
endfunction()
