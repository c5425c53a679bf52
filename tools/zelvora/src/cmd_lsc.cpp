// zelvora lsc calibrate | apply: lens-shading tables from grey and dark
// reference frames, and their application to raw frames.
#include "commands.hpp"
#include "error.hpp"

namespace zelvora {

int runLsc(std::span<const std::string> words) {
    if (words.empty() || (words[0] != "calibrate" && words[0] != "apply"))
        throw UsageError("lsc takes 'calibrate' or 'apply'");
    throw Failure("lsc " + words[0] +
                  " needs the library's lens-shading functions, which this build of the library does not have yet");
}

}  // namespace zelvora
