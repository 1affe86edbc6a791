# Writes INPUT as a C++ raw string constant into OUTPUT.
file(READ ${INPUT} text)
get_filename_component(dir ${OUTPUT} DIRECTORY)
file(MAKE_DIRECTORY ${dir})
file(WRITE ${OUTPUT} "// Generated from server/openapi.json; do not edit.\n"
     "#pragma once\nnamespace server {\ninline constexpr char kOpenApiDocument[] = R\"verda(${text})verda\";\n}\n")
