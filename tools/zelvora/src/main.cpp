// zelvora: raw sensor frames to pictures, from the command line.
#include <string>
#include <vector>

#include "cli.hpp"
#include "rawio.hpp"

int main(int argc, char** argv) {
    zelvora::removeTemporariesOnSignals();
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return zelvora::runCommandLine(words);
}
