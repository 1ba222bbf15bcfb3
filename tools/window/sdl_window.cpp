// The window of `morva compose --show`, through SDL2. Each frame goes through
// the library's display entry point: morvaDisplayImage draws it onto a drawing
// target whose canvas is the window's streaming texture.
#include <SDL.h>

#include "window.h"

namespace morvatool {

namespace {

class SdlWindow : public FrameWindow {
public:
    SdlWindow(int32_t width, int32_t height, const std::string& title) : width_(width), height_(height) {
        // Without a display SDL would fall back to drivers that show nothing
        // (and probe others that talk on stderr); a driver the user chose
        // through SDL_VIDEODRIVER is theirs.
        if (!SDL_getenv("SDL_VIDEODRIVER")) {
            if (SDL_getenv("WAYLAND_DISPLAY"))
                SDL_SetHint(SDL_HINT_VIDEODRIVER, "wayland,x11");
            else if (SDL_getenv("DISPLAY"))
                SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11");
            else
                throw ToolError("no display to show the window on (neither DISPLAY nor WAYLAND_DISPLAY is set)");
        }
        if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) fail("cannot open a window");
        // At the screen's top left, at the frame's own size.
        window_ = SDL_CreateWindow(title.c_str(), 0, 0, width, height, SDL_WINDOW_RESIZABLE);
        if (window_) renderer_ = SDL_CreateRenderer(window_, -1, 0);
        if (renderer_)
            texture_ = SDL_CreateTexture(renderer_, SDL_PIXELFORMAT_ARGB8888, SDL_TEXTUREACCESS_STREAMING, width, height);
        if (!texture_) fail("cannot open a window");
        // Composed frames carry no meaningful alpha.
        SDL_SetTextureBlendMode(texture_, SDL_BLENDMODE_NONE);
    }

    ~SdlWindow() override {
        if (texture_) SDL_DestroyTexture(texture_);
        if (renderer_) SDL_DestroyRenderer(renderer_);
        if (window_) SDL_DestroyWindow(window_);
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    }

    bool show(TImage& frame) override {
        void* pixels = nullptr;
        int pitch = 0;
        if (SDL_LockTexture(texture_, nullptr, &pixels, &pitch) != 0) fail("cannot draw in the window");
        MorvaCanvas canvas{static_cast<uint8_t*>(pixels), width_, height_, pitch};
        MorvaDrawTarget target = morvaCanvasTarget(&canvas);
        morvaDisplayImage(&frame, &target);
        SDL_UnlockTexture(texture_);
        present();
        return handleEvents();
    }

    void waitUntilClosed() override {
        while (!closed_) {
            SDL_WaitEventTimeout(nullptr, 100);
            handleEvents();
        }
    }

private:
    [[noreturn]] void fail(const std::string& what) {
        const std::string reason = SDL_GetError();
        throw ToolError(what + " for --show: " + (reason.empty() ? "no display" : reason));
    }

    void present() {
        SDL_RenderClear(renderer_);
        SDL_RenderCopy(renderer_, texture_, nullptr, nullptr);
        SDL_RenderPresent(renderer_);
    }

    // False once the window was closed, by its close button, q or Esc, or a
    // termination signal (which SDL turns into a quit event).
    bool handleEvents() {
        SDL_Event event;
        while (SDL_PollEvent(&event)) {
            if (event.type == SDL_QUIT) closed_ = true;
            if (event.type == SDL_KEYDOWN && (event.key.keysym.sym == SDLK_q || event.key.keysym.sym == SDLK_ESCAPE))
                closed_ = true;
            if (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_EXPOSED) present();
        }
        return !closed_;
    }

    int32_t width_, height_;
    SDL_Window* window_ = nullptr;
    SDL_Renderer* renderer_ = nullptr;
    SDL_Texture* texture_ = nullptr;
    bool closed_ = false;
};

}  // namespace

std::unique_ptr<FrameWindow> openFrameWindow(int32_t width, int32_t height, const std::string& title) {
    return std::make_unique<SdlWindow>(width, height, title);
}

}  // namespace morvatool
