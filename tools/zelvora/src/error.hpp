// The two kinds of failure the tool reports: a command line it cannot make
// sense of (exit 2) and anything that goes wrong while running (exit 1). Both
// end as one line on standard error.
#pragma once

#include <stdexcept>
#include <string>

namespace zelvora {

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct UsageError : Failure {
    using Failure::Failure;
};

}  // namespace zelvora
