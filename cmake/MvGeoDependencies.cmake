# Everything from outside, as targets.

find_package(Threads REQUIRED)
find_package(OpenMP REQUIRED COMPONENTS CXX)
if(NOT WIN32)
    find_package(OpenSSL REQUIRED COMPONENTS Crypto)
endif()

# CMake's own finder knows the toolkit as variables only.
find_package(OpenSceneGraph 3.6 REQUIRED COMPONENTS osgDB osgUtil osgGA osgViewer)
function(mvgeo_import_osg name library_variable)
    add_library(osg::${name} UNKNOWN IMPORTED)
    set(location "${${library_variable}}")
    if("optimized" IN_LIST location)
        list(FIND location optimized at)
        math(EXPR at "${at} + 1")
        list(GET location ${at} location)
    endif()
    set_target_properties(osg::${name} PROPERTIES
        IMPORTED_LOCATION "${location}"
        INTERFACE_INCLUDE_DIRECTORIES "${OPENSCENEGRAPH_INCLUDE_DIRS}")
endfunction()
mvgeo_import_osg(OpenThreads OPENTHREADS_LIBRARY)
mvgeo_import_osg(osg OSG_LIBRARY)
mvgeo_import_osg(osgDB OSGDB_LIBRARY)
mvgeo_import_osg(osgUtil OSGUTIL_LIBRARY)
mvgeo_import_osg(osgGA OSGGA_LIBRARY)
mvgeo_import_osg(osgViewer OSGVIEWER_LIBRARY)
target_link_libraries(osg::osg INTERFACE osg::OpenThreads)
target_link_libraries(osg::osgDB INTERFACE osg::osg)
target_link_libraries(osg::osgUtil INTERFACE osg::osg)
target_link_libraries(osg::osgGA INTERFACE osg::osgDB osg::osgUtil)
target_link_libraries(osg::osgViewer INTERFACE osg::osgGA)
