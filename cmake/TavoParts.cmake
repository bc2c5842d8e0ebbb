# tavo_list_parts(FOLDER PART...): writes what is linked into the library, each part as "name|licence|
# package": LICENSES.txt for people, and tavo_orlix_manager_plugin.spdx.json. Versions are those of the
# sources that scripts/setup.sh built, else of this machine's packages. A part without a package is MPack,
# whose licence stands at the head of its header.

function(tavo_list_parts folder)
    set(text "What is linked into tavo_orlix_manager_plugin ${PROJECT_VERSION}, and under which licences.\n\n")
    set(texts "")
    set(packages "")
    set(relations "")
    set(number 0)
    foreach(part ${ARGN})
        string(REGEX MATCH "^([^|]*)\\|([^|]*)\\|([^|]*)\\|?(.*)$" _ ${part})
        set(name ${CMAKE_MATCH_1})
        set(license ${CMAKE_MATCH_2})
        set(package ${CMAKE_MATCH_3})
        if(CMAKE_MATCH_4) # name, licence, version, and where the licence's text is
            set(version ${CMAKE_MATCH_3})
            file(READ ${CMAKE_MATCH_4} terms LIMIT 65536)
        elseif(package)
            execute_process(COMMAND dpkg-query -W -f "\${Version}\n" ${package}
                OUTPUT_VARIABLE version ERROR_QUIET)
            string(REGEX REPLACE "\n.*" "" version "${version}")
            string(REGEX REPLACE " .*" "" file ${name})
            string(TOLOWER ${file} file)
            if(EXISTS "${TAVO_STATIC_PREFIX}/version/${file}")
                file(STRINGS "${TAVO_STATIC_PREFIX}/version/${file}" version)
            endif()
            file(READ /usr/share/doc/${package}/copyright terms)
        else()
            file(STRINGS ${MPACK_INCLUDE_DIR}/mpack.h version REGEX "MPack [0-9.]+ amalgamation")
            string(REGEX REPLACE ".*MPack ([0-9.]+).*" "\\1" version "${version}")
            file(READ ${MPACK_INCLUDE_DIR}/mpack.h terms LIMIT 8192)
        endif()
        if(terms MATCHES "^/\\*") # it stands at the head of a source
            string(REGEX REPLACE "\\*/.*" "" terms "${terms}")
            string(REGEX REPLACE "(^|\n)[/ ]\\*+ ?" "\\1" terms "${terms}")
        endif()
        math(EXPR number "${number} + 1")
        string(APPEND text "${name} ${version}: ${license}\n")
        string(APPEND texts "\n\n${name} ${version}\n\n${terms}")
        string(APPEND packages ",
    {\"SPDXID\": \"SPDXRef-${number}\", \"name\": \"${name}\", \"versionInfo\": \"${version}\",
     \"downloadLocation\": \"NOASSERTION\", \"licenseConcluded\": \"${license}\"}")
        string(APPEND relations ",
    {\"spdxElementId\": \"SPDXRef-0\", \"relationshipType\": \"STATIC_LINK\",
     \"relatedSpdxElement\": \"SPDXRef-${number}\"}")
    endforeach()
    file(WRITE ${folder}/LICENSES.txt "${text}${texts}")
    string(TIMESTAMP now UTC)
    file(WRITE ${folder}/tavo_orlix_manager_plugin.spdx.json "{
  \"spdxVersion\": \"SPDX-2.3\", \"dataLicense\": \"CC0-1.0\", \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"name\": \"tavo_orlix_manager_plugin-${PROJECT_VERSION}-${TAVO_ARCHIVE_TAG}\",
  \"documentNamespace\": \"urn:tavo:orlix-manager-plugin:${PROJECT_VERSION}:${TAVO_ARCHIVE_TAG}:${now}\",
  \"creationInfo\": {\"created\": \"${now}\", \"creators\": [\"Organization: Tavo\"]},
  \"packages\": [
    {\"SPDXID\": \"SPDXRef-0\", \"name\": \"tavo_orlix_manager_plugin\", \"versionInfo\": \"${PROJECT_VERSION}\",
     \"downloadLocation\": \"NOASSERTION\", \"licenseConcluded\": \"NOASSERTION\"}${packages}
  ],
  \"relationships\": [
    {\"spdxElementId\": \"SPDXRef-DOCUMENT\", \"relationshipType\": \"DESCRIBES\",
     \"relatedSpdxElement\": \"SPDXRef-0\"}${relations}
  ]
}
")
endfunction()
