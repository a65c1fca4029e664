# The core library's layers, lowest first. A layer may include and link only itself and the layers
# it names here, directly or through them; the programs on top (cli, gui) may use every layer.
# cmake/check_layers.cmake holds the sources to this table on every build.
set(VELQ_LAYERS host image filters segments transform render animation motion video persistence app)
set(VELQ_LAYER_DEPS_host "")
set(VELQ_LAYER_DEPS_image host)
set(VELQ_LAYER_DEPS_filters image)
set(VELQ_LAYER_DEPS_segments image)
set(VELQ_LAYER_DEPS_transform segments)
set(VELQ_LAYER_DEPS_render segments)
set(VELQ_LAYER_DEPS_animation render)
set(VELQ_LAYER_DEPS_motion animation)
set(VELQ_LAYER_DEPS_video image)
set(VELQ_LAYER_DEPS_persistence render)
set(VELQ_LAYER_DEPS_app filters transform animation motion video persistence)
set(VELQ_LAYER_DEPS_cli app)
set(VELQ_LAYER_DEPS_gui app)

# Third-party headers only the programs may include (JSON, Qt, the option parser): the core never links them.
set(VELQ_PROGRAM_ONLY_HEADERS "nlohmann/" "Q" "CLI/")

# Every layer reachable from `layer`, itself included, into `out`.
function(velq_layer_closure layer out)
    set(seen ${layer})
    set(queue ${layer})
    while(queue)
        list(POP_FRONT queue current)
        foreach(dep ${VELQ_LAYER_DEPS_${current}})
            if(NOT dep IN_LIST seen)
                list(APPEND seen ${dep})
                list(APPEND queue ${dep})
            endif()
        endforeach()
    endwhile()
    set(${out} ${seen} PARENT_SCOPE)
endfunction()
