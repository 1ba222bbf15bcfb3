// morva: composes pictures and videos through the morva library.
#include <cstdio>
#include <exception>
#include <new>

#include "compose.h"

namespace {

// The library's display platform is opened for the length of the program.
struct LibrarySession {
    LibrarySession() { morvaInit(); }
    ~LibrarySession() { morvaFinit(); }
};

}  // namespace

int main(int argc, char** argv) {
    using namespace morvatool;
    try {
        const CommandLine line = parseCommandLine(argc, argv);
        switch (line.command) {
        case Command::Help: std::fputs(helpText().c_str(), stdout); return 0;
        case Command::Version: std::puts("morva " MORVA_VERSION); return 0;
        case Command::Compose: {
            const LibrarySession session;
            compose(line.compose);
            return 0;
        }
        }
    } catch (const UsageError& error) {
        std::fprintf(stderr, "morva: %s\n", error.what());
        return 2;
    } catch (const ToolError& error) {
        std::fprintf(stderr, "morva: %s\n", error.what());
        return 1;
    } catch (const std::bad_alloc&) {
        std::fputs("morva: out of memory\n", stderr);
        return 1;
    }
    return 1;
}
