// The command-line tool's composition of files, for batch work: the same
// readers, writers and composition as `morva compose`, so a batch gives the
// bytes the tool gives.
#include "files.h"

#include <compose.h>
#include <options.h>

#include <pybind11/stl.h>

#include <mutex>

#include "names.h"
#include "operations.h"

namespace morvapy {

namespace {

template <class Work>
auto asPythonErrors(Work&& work) {
    try {
        return work();
    } catch (const morvatool::ToolError& error) {
        throw py::value_error(error.what());
    }
}

py::dict probeInput(const std::string& path) {
    return asPythonErrors([&] {
        const auto source = morvatool::openInput(path, morvatool::Rgb{});
        py::dict facts;
        facts["kind"] = source->still() ? "picture" : "video";
        // A video's count is what its file's size promises (nothing for a pipe).
        facts["frames"] = source->still() ? std::optional<int64_t>(1) : source->expectedFrames();
        facts["size"] = py::make_tuple(source->width(), source->height());
        return facts;
    });
}

morvatool::Rgb rgbOf(const std::tuple<int, int, int>& colour) {
    const auto channel = [](int value) {
        if (value < 0 || value > 255) throw py::value_error("colour values are 0 to 255, not " + std::to_string(value));
        return uint8_t(value);
    };
    return {channel(std::get<0>(colour)), channel(std::get<1>(colour)), channel(std::get<2>(colour))};
}

morvatool::OutputKind outputKindOf(const std::string& output) {
    const auto endsWith = [&](const std::string& end) {
        return output.size() >= end.size() && output.compare(output.size() - end.size(), end.size(), end) == 0;
    };
    if (endsWith(".png")) return morvatool::OutputKind::Png;
    if (endsWith(".y4m")) return morvatool::OutputKind::Y4m;
    throw py::value_error("output '" + output + "' is neither a .png nor a .y4m file");
}

void composeFiles(const std::vector<std::string>& inputs, const std::string& output,
                  std::pair<int32_t, int32_t> size, py::handle format, const std::string& layout,
                  const std::optional<std::string>& method, bool antialias, const std::string& fit,
                  const std::tuple<int, int, int>& background, std::optional<int64_t> maxFrames) {
    morvatool::ComposeOptions options;
    options.inputs = inputs;
    options.output = output;
    options.outputKind = outputKindOf(output);
    checkFrameSize(size.first, size.second);
    options.width = size.first;
    options.height = size.second;
    const int32_t formatId = formatFromPython(format);
    const auto target = morvatool::targetByFormat(formatId);
    if (!target) throw py::value_error("the composition of files offers no target in format " + std::to_string(formatId));
    options.target = *target;
    // A batch replaces the outputs it plans, as it always has.
    options.overwrite = morvatool::Overwrite::Yes;
    options.layout = layout;
    if (method) options.interpolation = methodFromName(*method);
    options.antialias = antialias;
    options.scaleMode = fitFromName(fit);
    options.background = rgbOf(background);
    options.maxFrames = maxFrames;
    options.quiet = true;
    asPythonErrors([&] {
        // The tool registers its layout under one name for the length of a
        // composition, so compositions in one process take turns.
        py::gil_scoped_release released;
        std::unique_lock exclusive(layoutLock());
        morvatool::compose(options);
        return 0;
    });
}

}  // namespace

void bindFiles(py::module_& module) {
    module.def("_probe_input", &probeInput, py::arg("path"),
               "Opens a PNG or YUV4MPEG2 file as `morva compose` does and tells its kind, size and frame count.");
    module.def("_compose_files", &composeFiles, py::arg("inputs"), py::arg("output"), py::arg("size"),
               py::arg("format"), py::arg("layout"), py::arg("method"), py::arg("antialias"), py::arg("fit"),
               py::arg("background"), py::arg("max_frames"),
               "Composes files into one PNG or YUV4MPEG2 output exactly as `morva compose` does.");
}

}  // namespace morvapy
