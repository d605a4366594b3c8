# Warnings for every target of the project; -Werror when KV_WERROR is on (CI).
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-align
                    -Wunused -Woverloaded-virtual -Wnull-dereference -Wformat=2)
if(KV_WERROR)
    add_compile_options(-Werror)
endif()

if(KV_SANITIZE)
    add_compile_options(-fsanitize=${KV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KV_SANITIZE})
endif()
