#include "output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "png_io.h"

namespace morvatool {

namespace {

bool sameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

void refuseInputs(const std::string& path, const struct stat& output, const std::vector<std::string>& inputs) {
    for (const std::string& input : inputs) {
        struct stat info {};
        if (input != "-" && stat(input.c_str(), &info) == 0 && sameFile(info, output))
            throw UsageError("the output '" + path + "' is the input '" + input + "': choose another output name");
    }
}

bool userAgrees(const std::string& path) {
    std::cerr << "File '" << path << "' already exists. Overwrite? [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return !answer.empty() && (answer[0] == 'y' || answer[0] == 'Y');
}

}  // namespace

OutputFile::OutputFile(const std::string& path, Overwrite overwrite, const std::vector<std::string>& inputs,
                       bool askOnTerminal)
    : path_(path), name_(path == "-" ? "standard output" : path) {
    if (path == "-") {
        if (isatty(STDOUT_FILENO))
            throw UsageError("standard output is a terminal: send it into a pipe or a file");
        file_ = stdout;
        return;
    }
    struct stat existing {};
    if (stat(path.c_str(), &existing) == 0) {
        refuseInputs(path, existing, inputs);
        if (overwrite == Overwrite::No) throw ToolError("'" + path + "' already exists (-n keeps it)");
        if (overwrite == Overwrite::Ask) {
            if (!askOnTerminal || !isatty(STDIN_FILENO) || !isatty(STDERR_FILENO))
                throw ToolError("'" + path + "' already exists: -y overwrites it, -n keeps it");
            if (!userAgrees(path)) throw ToolError("'" + path + "' kept, nothing written");
        }
        // A device or pipe is written in place.
        if (!S_ISREG(existing.st_mode)) {
            file_ = std::fopen(path.c_str(), "wb");
            if (!file_) throw ToolError("cannot write '" + path + "': " + std::strerror(errno));
            return;
        }
    }
    const std::filesystem::path target(path);
    const std::filesystem::path directory = target.has_parent_path() ? target.parent_path() : ".";
    temporary_ = (directory / ("." + target.filename().string() + ".morva-XXXXXX")).string();
    const int descriptor = mkstemp(temporary_.data());
    if (descriptor < 0) {
        temporary_.clear();
        throw ToolError("cannot write '" + path + "': " + std::strerror(errno));
    }
    // mkstemp makes the file private; a new output gets the usual permissions.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
    file_ = fdopen(descriptor, "wb");
    if (!file_) {
        close(descriptor);
        throw ToolError("cannot write '" + path + "': " + std::strerror(errno));
    }
}

OutputFile::~OutputFile() {
    if (file_ && file_ != stdout) std::fclose(file_);
    if (!temporary_.empty()) std::remove(temporary_.c_str());
}

void OutputFile::commit() {
    const bool flushed = std::fflush(file_) == 0 && !std::ferror(file_);
    const int flushError = errno;
    if (file_ == stdout) {
        if (!flushed) throw ToolError("cannot write '" + name_ + "': " + std::strerror(flushError));
        return;
    }
    const bool closed = std::fclose(file_) == 0;
    const int closeError = errno;
    file_ = nullptr;
    if (!flushed || !closed)
        throw ToolError("cannot write '" + name_ + "': " + std::strerror(flushed ? closeError : flushError));
    if (!temporary_.empty()) {
        if (std::rename(temporary_.c_str(), path_.c_str()) != 0)
            throw ToolError("cannot write '" + name_ + "': " + std::strerror(errno));
        temporary_.clear();
    }
}

namespace {

class PngFrameWriter : public FrameWriter {
public:
    PngFrameWriter(OutputFile& file, int32_t format) : file_(file), format_(format) {}
    int32_t format() const override { return format_; }
    void write(const TImage& frame) override { writePng(file_.file(), file_.name(), frame); }

private:
    OutputFile& file_;
    int32_t format_;
};

class Y4mFrameWriter : public FrameWriter {
public:
    Y4mFrameWriter(OutputFile& file, int32_t format, const Y4mHeader& header)
        : writer_(file.file(), file.name(), header), format_(format) {}
    int32_t format() const override { return format_; }
    void write(const TImage& frame) override { writer_.writeFrame(frame); }

private:
    Y4mWriter writer_;
    int32_t format_;
};

}  // namespace

std::unique_ptr<FrameWriter> makePngWriter(OutputFile& file, int32_t format) {
    return std::make_unique<PngFrameWriter>(file, format);
}

std::unique_ptr<FrameWriter> makeY4mWriter(OutputFile& file, int32_t format, const Y4mHeader& header) {
    return std::make_unique<Y4mFrameWriter>(file, format, header);
}

}  // namespace morvatool
