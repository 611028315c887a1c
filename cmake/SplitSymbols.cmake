# Run by the installation: moves the debug information of `modules` into files of their own under
# symbols/, which a module names, and drops that of `libraries`. Paths count from the prefix.
cmake_policy(VERSION 3.22)
foreach(file ${modules} ${libraries})
    set(module $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${file})
    if(file IN_LIST modules)
        string(REGEX REPLACE "^bin/" "" name ${file})
        set(symbols $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/symbols/${name}.debug)
        get_filename_component(folder ${symbols} DIRECTORY)
        file(MAKE_DIRECTORY ${folder})
        execute_process(COMMAND ${objcopy} --only-keep-debug ${module} ${symbols}
            COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND ${objcopy} --strip-debug --add-gnu-debuglink=${symbols} ${module}
            COMMAND_ERROR_IS_FATAL ANY)
    else()
        execute_process(COMMAND ${objcopy} --strip-debug ${module} COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
