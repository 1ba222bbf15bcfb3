// Every resampling path of the resize kernels, named in one place. A new
// interpolation family, the antialiasing path or an edge treatment joins by
// one line here.
#include "morva.h"
#include "resample/antialias.h"
#include "resample/cubic.h"
#include "resample/edge_treatment.h"
#include "resample/lanczos.h"
#include "resample/linear.h"
#include "resample/nearest.h"
#include "resample/resize_general.h"
#include "resample/super_sampling.h"

namespace morva {
namespace {

struct FamilyRow {
    int32_t id;
    ResizeFamily family;
};

// Interpolation ids (after degradation) and their families. Super-sampling
// runs before the column and row tables would be laid out: it has none.
constexpr FamilyRow kFamilies[] = {
    {INTER_NN, {&resizeNearest, true}},
    {INTER_LINEAR, {&resizeLinear, true}},
    {INTER_CUBIC, {&resizeCubic, true}},
    {INTER_CUBIC_BSPLINE, {&resizeCubic, true}},
    {INTER_CUBIC_CATMULLROM, {&resizeCubic, true}},
    {INTER_CUBIC_B05C03, {&resizeCubic, true}},
    {INTER_LANCZOS, {&resizeLanczos, true}},
    {INTER_SUPER, {&resizeSuper, false}},
};

}  // namespace

const ResizeFamily* findResizeFamily(int32_t id) {
    for (const FamilyRow& row : kFamilies)
        if (row.id == id) return &row.family;
    return nullptr;
}

ResizePathFn antialiasPath() { return &ownResizeAntialias; }

// Twelve routines: two kinds, 8u and 16u, one, three and four channels.
EdgeTreatmentFn findEdgeTreatment(EdgeKind kind, int32_t depth, int32_t nChannels) {
    return edgeTreatmentRoutine(kind, depth, nChannels);
}

}  // namespace morva
