#include "compose.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <thread>

#include "canvas.h"
#include "convert.h"
#include "layout_check.h"
#include "pipeline.h"
#include "progress.h"
#include "window.h"

namespace morvatool {

namespace {

void note(const ComposeOptions& options, const std::string& text) {
    if (!options.quiet) std::fprintf(stderr, "morva: note: %s\n", text.c_str());
}

std::vector<std::unique_ptr<Input>> openInputs(const ComposeOptions& options) {
    if (options.inputs.empty()) return patternInputs();
    std::vector<std::unique_ptr<Input>> inputs;
    for (const std::string& path : options.inputs) inputs.push_back(openInput(path, options.background));
    return inputs;
}

std::string rateText(const Rate& rate) {
    return std::to_string(rate.numerator) + "/" + std::to_string(rate.denominator);
}

// --rate, else the first video's rate, else 25.
Rate outputRate(const ComposeOptions& options, const std::vector<std::unique_ptr<Input>>& inputs) {
    std::optional<Rate> first;
    bool differ = false;
    for (const auto& input : inputs)
        if (const auto rate = input->rate()) {
            if (!first) first = rate;
            differ = differ || !(*rate == *first);
        }
    if (options.rate) return *options.rate;
    if (differ)
        note(options, "the videos have different frame rates: frames are taken by time at " + rateText(*first) +
                          " per second, the first video's (--rate chooses another)");
    return first.value_or(Rate{});
}

// RGB targets whose inputs are all 4:2:0 videos are composed in yuv420p and
// converted once afterwards: the inputs carry no more colour than that, and
// converting the composed frame costs a fraction of converting every input at
// its own size before it is scaled.
TargetFormat composition(const TargetFormat& asked, const std::vector<std::unique_ptr<Input>>& inputs) {
    const bool rgb = asked.composeIn == FORMAT_RGB32 || asked.composeIn == FORMAT_RGB24;
    const bool all420Videos = std::all_of(inputs.begin(), inputs.end(), [](const auto& input) {
        return !input->still() && input->nativeFormat() == FORMAT_I420;
    });
    return rgb && all420Videos ? TargetFormat{asked.format, FORMAT_I420} : asked;
}

// What the library is asked to do with each input, and the calls that do it.
struct RenderPlan {
    TargetFormat target;
    std::vector<RenderCall> calls;
    std::vector<std::string> layoutNames;
    std::vector<int32_t> interpolations;  // per input
};

RenderPlan planRender(const ComposeOptions& options, const std::vector<std::unique_ptr<Input>>& inputs, int32_t width,
                      int32_t height) {
    double aspect = 0.0;
    for (const auto& input : inputs) aspect += double(input->width()) / input->height() / double(inputs.size());
    const std::string layout = options.layout.empty() ? defaultLayoutText(int64_t(inputs.size()), width, height, aspect)
                                                      : completeLayoutText(options.layout);
    checkPlacement(layout, int64_t(inputs.size()), width, height);
    const GridLayout grid = parseLayoutText(layout);
    RenderPlan plan;
    plan.target = composition(options.target, inputs);
    for (const auto& input : inputs) input->composeIn(plan.target.composeIn);
    for (size_t i = 0; i < inputs.size(); ++i) {
        const Input& input = *inputs[i];
        const CellRect cell = cellOf(int64_t(i), grid, width, height);
        const Placement placement = placeInCell(cell, input.width(), input.height(), options.scaleMode);
        if (placement.rect.width < 4 || placement.rect.height < 4)
            throw UsageError("input " + std::to_string(i + 1) + " ('" + input.name() + "') would be drawn " +
                             std::to_string(std::max<int64_t>(placement.rect.width, 0)) + "x" +
                             std::to_string(std::max<int64_t>(placement.rect.height, 0)) + " in its " +
                             std::to_string(cell.width) + "x" + std::to_string(cell.height) +
                             " cell, which the library rounds to nothing: give it more room");
        int32_t interpolation = interpolationValue(options);
        if (options.interpolation == INTER_SUPER && (placement.xFactor > 1.0 || placement.yFactor > 1.0)) {
            note(options, "input " + std::to_string(i + 1) + " ('" + input.name() +
                              "') is enlarged, which super-sampling can't do: it is drawn with linear");
            interpolation = INTER_LINEAR;
        }
        plan.interpolations.push_back(interpolation);
    }
    plan.calls = renderCalls(layout, int64_t(inputs.size()));
    for (size_t i = 0; i < plan.calls.size(); ++i) plan.layoutNames.push_back("morva-compose-" + std::to_string(i));
    return plan;
}

// Registers the layouts for the length of a composition.
class LayoutRegistration {
public:
    explicit LayoutRegistration(const RenderPlan& plan) : names_(plan.layoutNames) {
        for (size_t i = 0; i < names_.size(); ++i)
            if (!morvaSetLayout(names_[i].c_str(), plan.calls[i].layout.c_str()))
                throw ToolError("the library refused the layout");
    }
    ~LayoutRegistration() {
        for (const std::string& name : names_) morvaSetLayout(name.c_str(), nullptr);
    }
    LayoutRegistration(const LayoutRegistration&) = delete;
    LayoutRegistration& operator=(const LayoutRegistration&) = delete;

private:
    std::vector<std::string> names_;
};

// Targets whose format only rearranges the bytes of the format they are
// composed in need no stop in their own format on the way out.
bool targetOnlyRearranges(const TargetFormat& target) {
    const int32_t f = target.format, in = target.composeIn;
    return f == in || (in == FORMAT_I420 && (f == FORMAT_YV12 || f == FORMAT_NV12)) ||
           (in == FORMAT_YVYU && (f == FORMAT_YUY2 || f == FORMAT_UYVY));
}

// A frame composed by one thread: the output's frame and the window's.
struct Composed {
    const TImage* output = nullptr;
    TImage* view = nullptr;
};

// One thread's target and the conversions after it.
class FrameComposer {
public:
    FrameComposer(const ComposeOptions& options, const RenderPlan& plan, const TImage& background,
                  std::optional<int32_t> outputFormat)
        : plan_(plan), background_(background),
          target_(allocateImage("target", background.width, background.height, background.format)) {
        const TargetFormat& t = plan.target;
        const int32_t via = targetOnlyRearranges(t) ? t.composeIn : t.format;
        if (via != t.composeIn) toTarget_.emplace(target_->width, target_->height, t.composeIn, via);
        if (outputFormat) toOutput_.emplace(target_->width, target_->height, via, *outputFormat);
        if (options.show) toView_.emplace(target_->width, target_->height, via, FORMAT_RGB32);
        if (options.show && via == FORMAT_RGB32) view_ = allocateImage("view", target_->width, target_->height, FORMAT_RGB32);
    }

    Composed compose(const FrameSlot& slot) {
        morvaUpdateImage(target_.get(), background_.data);
        for (size_t i = 0; i < plan_.calls.size(); ++i) {
            std::vector<TImage*> sources;
            for (const std::optional<int64_t>& input : plan_.calls[i].inputs)
                sources.push_back(input ? slot.sources[size_t(*input)] : nullptr);
            if (!morvaRender(plan_.layoutNames[i].c_str(), target_.get(), sources.data(), int32_t(sources.size())))
                throw ToolError("the library refused the composition");
        }
        morvaRenderFinalize(target_.get());
        const TImage& target = toTarget_ ? toTarget_->convert(*target_) : *target_;
        Composed composed;
        if (toOutput_) composed.output = &toOutput_->convert(target);
        if (toView_) {
            // The window gets a copy of its own, so the next frame may be composed while it shows.
            const TImage& view = toView_->convert(target);
            if (!view_) view_ = allocateImage("view", view.width, view.height, FORMAT_RGB32);
            std::memcpy(view_->data, view.data, size_t(view.size));
            composed.view = view_.get();
        }
        return composed;
    }

private:
    const RenderPlan& plan_;
    const TImage& background_;
    ImagePtr target_, view_;
    std::optional<FrameConverter> toTarget_, toOutput_, toView_;
};

// Fills slots with the inputs' frames due at each output frame.
class FrameReader {
public:
    FrameReader(const std::vector<std::unique_ptr<Input>>& inputs, const RenderPlan& plan, int32_t scaleMode, Rate rate,
                int64_t maxFrames)
        : inputs_(inputs), plan_(plan), rate_(rate), maxFrames_(maxFrames), scaleMode_(scaleMode), position_(inputs.size(), -1),
          ended_(inputs.size(), false), last_(inputs.size(), nullptr), shared_(inputs.size()) {}

    void prepare(FrameSlot& slot) const {
        for (size_t i = 0; i < inputs_.size(); ++i) {
            const Input& input = *inputs_[i];
            std::shared_ptr<TImage> image;
            if (!input.still() && !input.framesInPlace()) image = input.allocateFrame();
            TImage* source = input.still() ? const_cast<TImage*>(input.still()) : image.get();
            if (source) morvaSetAttributes(source, plan_.interpolations[i], scaleMode_);
            slot.images.push_back(std::move(image));
            slot.sources.push_back(source);
        }
    }

    bool read(int64_t frame, FrameSlot& slot) {
        if (frame >= maxFrames_) return false;
        bool anyVideo = false, anyRunning = false;
        for (size_t i = 0; i < inputs_.size(); ++i) {
            Input& input = *inputs_[i];
            if (input.still()) continue;
            anyVideo = true;
            const int64_t due = inputFrameAt(frame, rate_, *input.rate());
            if (input.framesInPlace())
                readInPlace(i, due, slot);
            else
                readIntoSlot(i, due, slot);
            anyRunning = anyRunning || position_[i] >= due;
        }
        return anyVideo ? anyRunning : frame == 0;
    }

private:
    // Reads the frames of video `i` up to `due`, or to its end.
    template <class ReadOne>
    bool advance(size_t i, int64_t due, ReadOne readOne) {
        bool fresh = false;
        while (!ended_[i] && position_[i] < due) {
            if (readOne())
                ++position_[i], fresh = true;
            else
                ended_[i] = true;
        }
        return fresh;
    }

    // The slot shares the frame, however many slots show it.
    void readInPlace(size_t i, int64_t due, FrameSlot& slot) {
        const bool fresh = advance(i, due, [&] {
            std::shared_ptr<TImage> next = inputs_[i]->readInPlace();
            if (!next) return false;
            shared_[i] = std::move(next);
            return true;
        });
        if (fresh) morvaSetAttributes(shared_[i].get(), plan_.interpolations[i], scaleMode_);
        slot.images[i] = shared_[i];
        slot.sources[i] = shared_[i].get();
    }

    // The slot holds a copy: read into it, or copied from the slot that
    // showed the frame before.
    void readIntoSlot(size_t i, int64_t due, FrameSlot& slot) {
        TImage& image = *slot.sources[i];
        const bool fresh = advance(i, due, [&] { return inputs_[i]->readNext(image); });
        if (!fresh && last_[i] != &image) std::memcpy(image.data, last_[i]->data, size_t(image.size));
        last_[i] = &image;
    }

    const std::vector<std::unique_ptr<Input>>& inputs_;
    const RenderPlan& plan_;
    Rate rate_;
    int64_t maxFrames_;
    int32_t scaleMode_;
    std::vector<int64_t> position_;  // frame of each video last read, -1 before the first
    std::vector<bool> ended_;
    std::vector<TImage*> last_;                     // a video's frame in the slot that showed it last
    std::vector<std::shared_ptr<TImage>> shared_;  // a video's frame used in place
};

std::optional<int64_t> expectedFrames(const std::vector<std::unique_ptr<Input>>& inputs, Rate rate, int64_t maxFrames) {
    int64_t frames = 1;
    for (const auto& input : inputs) {
        if (input->still()) continue;
        const auto count = input->expectedFrames();
        if (!count) return std::nullopt;
        const Rate r = *input->rate();
        // The first output frame past the video's last: ceil(count * rate / r).
        const __int128 numerator = __int128(*count) * rate.numerator * r.denominator;
        const __int128 denominator = __int128(rate.denominator) * r.numerator;
        frames = std::max(frames, int64_t((numerator + denominator - 1) / denominator));
    }
    return std::min(frames, maxFrames);
}

std::string sizeText(int32_t width, int32_t height) { return std::to_string(width) + "x" + std::to_string(height); }

}  // namespace

int32_t outputFormat(const TargetFormat& target, OutputKind kind, Y4mChroma chroma) {
    if (kind == OutputKind::Png) return target.format == FORMAT_RGB32 ? FORMAT_RGB32 : FORMAT_RGB24;
    switch (chroma) {
    case Y4mChroma::C422: return FORMAT_YVYU;
    case Y4mChroma::Mono:
        if (target.format == FORMAT_GRAY8) return FORMAT_GRAY8;
        return targetOnlyRearranges(target) && target.composeIn != FORMAT_RGB32 && target.composeIn != FORMAT_RGB24
                   ? target.composeIn
                   : FORMAT_I420;
    default: return FORMAT_I420;
    }
}

Y4mChroma outputChroma(const ComposeOptions& options) {
    if (options.chroma) return *options.chroma;
    switch (options.target.format) {
    case FORMAT_YUY2:
    case FORMAT_UYVY:
    case FORMAT_YVYU: return Y4mChroma::C422;
    case FORMAT_GRAY8: return Y4mChroma::Mono;
    default: return Y4mChroma::C420;
    }
}

int64_t inputFrameAt(int64_t frame, const Rate& output, const Rate& input) {
    return int64_t(__int128(frame) * input.numerator * output.denominator /
                   (__int128(input.denominator) * output.numerator));
}

void compose(const ComposeOptions& options) {
    std::vector<std::unique_ptr<Input>> inputs = openInputs(options);
    int32_t width = 0, height = 0;
    morvaCalcImageDimension(options.width, options.height, width, height);
    const RenderPlan plan = planRender(options, inputs, width, height);
    const Rate rate = outputRate(options, inputs);
    const LayoutRegistration registration(plan);

    const ImagePtr background = packCanvas(RgbCanvas(width, height, options.background), plan.target.composeIn, "background");
    const Y4mChroma chroma = outputChroma(options);
    std::optional<OutputFile> file;
    std::unique_ptr<FrameWriter> writer;
    if (options.outputKind != OutputKind::None) {
        file.emplace(options.output, options.overwrite, options.inputs,
                     std::find(options.inputs.begin(), options.inputs.end(), "-") == options.inputs.end());
        const int32_t format = outputFormat(plan.target, options.outputKind, chroma);
        if (options.outputKind == OutputKind::Png) {
            writer = makePngWriter(*file, format);
        } else {
            const bool fullRange = chroma == Y4mChroma::Mono && format == FORMAT_GRAY8;
            const Y4mHeader header{width, height, chroma, 8, false, fullRange, int32_t(rate.numerator), int32_t(rate.denominator)};
            writer = makeY4mWriter(*file, format, header);
        }
    }
    std::unique_ptr<FrameWindow> window;
    if (options.show) window = openFrameWindow(width, height, "morva " + sizeText(width, height));

    const int64_t maxFrames = options.outputKind == OutputKind::Png ? 1 : options.maxFrames.value_or(INT64_MAX);
    FrameReader reader(inputs, plan, options.scaleMode, rate, maxFrames);
    const std::optional<int32_t> format = writer ? std::optional(writer->format()) : std::nullopt;
    // Two frames are composed at once where there are two cores to do it.
    const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1u, 2u);
    std::vector<std::unique_ptr<FrameComposer>> composers;
    for (unsigned i = 0; i < (maxFrames > 1 ? threads : 1u); ++i)
        composers.push_back(std::make_unique<FrameComposer>(options, plan, *background, format));

    // Told once the output is open, so that a refusal stays one line.
    for (const auto& input : inputs)
        for (const std::string& change : input->notes()) note(options, "'" + input->name() + "': " + change);
    Progress progress(expectedFrames(inputs, rate, maxFrames), !options.quiet && options.outputKind == OutputKind::Y4m);
    const double frameSeconds = double(rate.denominator) / double(rate.numerator);
    int64_t written = 0;
    bool closed = false;
    PipelineStages stages;
    stages.slots = int(composers.size()) + 2;
    stages.prepare = [&](FrameSlot& slot) { reader.prepare(slot); };
    stages.read = [&](int64_t frame, FrameSlot& slot) { return reader.read(frame, slot); };
    for (auto& composer : composers)
        stages.composers.push_back([&composer, result = Composed{}](const FrameSlot& slot) mutable {
            result = composer->compose(slot);
            return static_cast<const void*>(&result);
        });
    stages.take = [&](int64_t frame, const void* made) {
        const Composed& composed = *static_cast<const Composed*>(made);
        if (writer) writer->write(*composed.output);
        written = frame + 1;
        progress.update(written);
        if (!window) return true;
        // A window plays at the frame rate.
        const double due = double(frame) * frameSeconds - progress.seconds();
        if (due > 0) std::this_thread::sleep_for(std::chrono::duration<double>(due));
        closed = !window->show(*composed.view);
        return !closed;
    };
    runPipeline(stages);
    if (file) file->commit();
    progress.clear();

    for (const auto& input : inputs)
        if (!input->endNote().empty())
            note(options, "'" + input->name() + "': " + input->endNote() + "; the frames before it were composed");
    if (!options.quiet) {
        const double seconds = progress.seconds();
        std::string summary = (options.outputKind == OutputKind::None ? "showed " : "wrote ") + std::to_string(written) +
                              (written == 1 ? " frame " : " frames ") + sizeText(width, height) + " " +
                              formatName(options.target.format);
        if (file) summary += " to " + file->name();
        char timing[64];
        std::snprintf(timing, sizeof timing, " in %.2f s (%.1f fps)", seconds, seconds > 0 ? double(written) / seconds : 0.0);
        if (closed) summary += ", stopped in the window";
        std::fprintf(stderr, "morva: %s%s\n", summary.c_str(), timing);
    }
    if (window && !closed) window->waitUntilClosed();
}

}  // namespace morvatool
