# Corrects the Turtle files that JUCE 7.0.5's LV2 helper writes into the bundle, so
# that they agree with the LV2 schemas (sord_validate) and hosts read no wrong types:
#   cmake -DBUNDLE=<path to the .lv2 folder> -P FixLv2Turtle.cmake
# It runs after the helper, on every build. Each correction names the exact text it
# replaces and stops the build when that text is missing, so a JUCE whose output
# changed is noticed rather than left half corrected.

function(sampivo_fix_turtle file old new)
    file(READ "${BUNDLE}/${file}" text)
    string(FIND "${text}" "${old}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "FixLv2Turtle: ${file} no longer holds the text to correct:\n${old}")
    endif()
    string(REPLACE "${old}" "${new}" text "${text}")
    file(WRITE "${BUNDLE}/${file}" "${text}")
endfunction()

# The plug-in's maintainer and release are properties of a doap:Project.
sampivo_fix_turtle(dsp.ttl "\ta lv2:InstrumentPlugin ;\n" "\ta lv2:InstrumentPlugin , doap:Project ;\n")

# With no e-mail address set, JUCE writes an empty one, <>, which Turtle reads as the
# file itself: hosts would show the path of dsp.ttl as the maker's address.
sampivo_fix_turtle(dsp.ttl "\t\tfoaf:mbox <> ;\n" "")

# Port properties belong to ports; on a parameter (the on/off "Milliseconds") the
# schema rejects them. Its two scale points still tell hosts its values.
sampivo_fix_turtle(dsp.ttl "\tlv2:portProperty lv2:enumeration , lv2:toggled ;\n" "")

# The editor lists ui:noUserResize, a feature, as extension data and opts:interface,
# extension data, as a feature; each is kept only where its type belongs.
sampivo_fix_turtle(ui.ttl "\t\topts:interface ,\n\t\tui:noUserResize ,\n\t\tui:resize ;"
                          "\t\topts:interface ,\n\t\tui:resize ;")
sampivo_fix_turtle(ui.ttl "\t\tui:noUserResize ,\n\t\topts:interface ,\n\t\topts:options ;"
                          "\t\tui:noUserResize ,\n\t\topts:options ;")

# The default preset stores the program number under a property of the plug-in's own,
# which nothing defines.
file(READ "${BUNDLE}/manifest.ttl" manifest)
string(REGEX MATCH "<([^>]*:Program)>" program "${manifest}")
if(NOT program)
    message(FATAL_ERROR "FixLv2Turtle: manifest.ttl names no program property")
endif()
file(APPEND "${BUNDLE}/manifest.ttl"
     "\n${program}\n\ta <http://www.w3.org/1999/02/22-rdf-syntax-ns#Property> ;\n"
     "\trdfs:label \"program\" ;\n\trdfs:comment \"The index of the program a preset selects.\" ;\n"
     "\trdfs:range xsd:int .\n")
