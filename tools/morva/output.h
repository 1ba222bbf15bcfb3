// Where a composition goes: a file that appears only when it is complete, or
// standard output; and the writers of its frames.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "images.h"
#include "y4m_io.h"

namespace morvatool {

enum class Overwrite { Ask, Yes, No };

// A file is written under a temporary name in its directory and renamed over
// the path when complete, so an existing file is only ever replaced by a whole
// new one, and a failure leaves nothing behind. "-" is standard output.
class OutputFile {
public:
    // Throws ToolError when the path names one of the inputs, when it exists
    // and may not be replaced (-n, or no -y and no terminal to ask on), or
    // when it can't be created. `askOnTerminal` allows a question on stderr.
    OutputFile(const std::string& path, Overwrite overwrite, const std::vector<std::string>& inputs,
               bool askOnTerminal);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* file() const { return file_; }
    const std::string& name() const { return name_; }
    // Flushes and puts the file in place. Throws ToolError if anything was lost.
    void commit();

private:
    std::string path_, name_, temporary_;
    std::FILE* file_ = nullptr;
};

// Writes frames of one format to an output.
class FrameWriter {
public:
    virtual ~FrameWriter() = default;
    // The format frames must have.
    virtual int32_t format() const = 0;
    virtual void write(const TImage& frame) = 0;
};

std::unique_ptr<FrameWriter> makePngWriter(OutputFile& file, int32_t format);
std::unique_ptr<FrameWriter> makeY4mWriter(OutputFile& file, int32_t format, const Y4mHeader& header);

}  // namespace morvatool
