#include "kernels/scratch.h"

#include <initializer_list>

namespace morva {

void WorkBuffers::trim(int64_t keptBytes) {
    for (ScratchBuffer* buffer : {&window, &temporary, &work, &frame})
        if (buffer->capacity() > keptBytes) buffer->release();
}

WorkBuffers& threadWorkBuffers() {
    thread_local WorkBuffers buffers;
    return buffers;
}

}  // namespace morva
