// The tool's commands. Each takes the words after its name, returns the exit
// status, and throws UsageError or Failure for the one-line error.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace zelvora {

int runConvert(std::span<const std::string> words);
int runDemo(std::span<const std::string> words);
int runBench(std::span<const std::string> words);
int runLscCalibrate(std::span<const std::string> words);
int runLscApply(std::span<const std::string> words);
// "calibrate ..." or "apply ...".
int runLsc(std::span<const std::string> words);
int runFormats(std::span<const std::string> words);

// "out.png" as frame 3 of 12: "out-0003.png"; the path itself for one frame.
std::string numberedPath(const std::string& path, int64_t index, int64_t count);

}  // namespace zelvora
