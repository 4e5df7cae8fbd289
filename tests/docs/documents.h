#pragma once
/**
 * The programs that stand in the documents, taken out to be run.
 */
#include "tests/support/support.h"

#include <stdexcept>
#include <string>

// The lines of a document between "```" with the given words behind it and the next "```".
inline std::string programOf(const std::string& document, const std::string& words)
{
    const Bytes bytes = readFile(std::string(NIMBEX_DOCS) + "/" + document);
    const std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::string opening = "\n```" + words + "\n";
    const auto begin = text.find(opening);
    if (begin == std::string::npos) throw std::runtime_error(document + " has no " + words);
    const auto first = begin + opening.size();
    return text.substr(first, text.find("\n```", first) + 1 - first);
}

// Runs a script of bash in a directory, with nimbex among the commands.
inline ProgramResult shell(const std::string& directory, const std::string& script)
{
    const std::string program = NIMBEX_PROGRAM;
    writeText(directory + "/script", "cd '" + directory + "' && export HOME=\"$PWD\" PATH='" +
                                         program.substr(0, program.rfind('/')) +
                                         "':\"$PATH\" || exit\n" + script);
    return runProgram("/bin/bash", {directory + "/script"});
}
