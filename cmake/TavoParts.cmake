# tavo_list_parts(FOLDER): writes what is linked into the library, as cmake/TavoLibraries.cmake tells it:
# LICENSES.txt for people, and tavo_orlix_manager_plugin.spdx.json.

function(tavo_list_parts folder)
    get_property(parts GLOBAL PROPERTY TAVO_PARTS)
    set(text "What is linked into tavo_orlix_manager_plugin ${PROJECT_VERSION}, and under which licences.\n\n")
    set(texts "")
    set(packages "")
    set(relations "")
    set(number 0)
    foreach(part ${parts})
        string(REGEX MATCH "^(.*)\\|(.*)\\|(.*)\\|(.*)$" _ ${part})
        set(name ${CMAKE_MATCH_1})
        set(version ${CMAKE_MATCH_2})
        set(license ${CMAKE_MATCH_3})
        file(READ ${CMAKE_MATCH_4} terms)
        if(terms MATCHES "^/\\*")
            # It stands at the head of a source.
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
  \"name\": \"tavo_orlix_manager_plugin-${PROJECT_VERSION}-${TAVO_TARGET}\",
  \"documentNamespace\": \"urn:tavo:orlix-manager-plugin:${PROJECT_VERSION}:${TAVO_TARGET}:${now}\",
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
