#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz_target.h"

// Runs a target over stored inputs without a fuzzing engine. What the target finds ends the
// process; an input that cannot be read, or none at all, is a failure too.

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        std::ifstream file(argv[i], std::ios::binary);
        if (!file)
        {
            std::fprintf(stderr, "Cannot read %s\n", argv[i]);
            return 1;
        }
        std::fprintf(stderr, "%s\n", argv[i]); // the last one is the one that ended it
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        tavo::fuzz::run(input);
    }
    if (argc < 2)
        std::fprintf(stderr, "No stored inputs\n");
    return argc < 2 ? 1 : 0;
}
