#include "layout/layout_registry.h"

#include <map>
#include <mutex>
#include <shared_mutex>

#include "layout/name_value_map.h"
#include "morva.h"
#include "trace/trace.h"

namespace morva {
namespace {

// The registry lives from load to unload. Layouts are copied in and out
// under a lock, so renders on several threads and a definition in between
// are safe; a render works with the layout as it stood when it began.
struct Registry {
    std::shared_mutex lock;
    std::map<std::string, LayoutRecord, CaseInsensitiveLess> layouts;
};

Registry& layoutRegistry() {
    static Registry registry;
    return registry;
}

void storeValue(LayoutValue& field, int32_t value) {
    field.present = true;
    field.reserved = false;
    field.value = value;
}

}  // namespace

void resetLayout(LayoutRecord& record) { record = LayoutRecord{}; }

void parseLayout(LayoutRecord& record, const std::string& text) {
    CSTDNameValueMap pairs;
    pairs.parse(text, ";", ":", true);
    // An empty value counts as not given.
    auto given = [&pairs](const char* key) { return !pairs.getValue(key).empty(); };
    if (given("border")) record.border = pairs.getInt("border");
    if (given("rows")) record.rows = pairs.getInt("rows");
    if (given("columns")) record.columns = pairs.getInt("columns");
    const std::pair<const char*, LayoutValue LayoutRecord::*> percentages[] = {
        {"width", &LayoutRecord::width},
        {"height", &LayoutRecord::height},
        {"margin-left", &LayoutRecord::marginLeft},
        {"margin-top", &LayoutRecord::marginTop},
        {"margin-right", &LayoutRecord::marginRight},
        {"margin-bottom", &LayoutRecord::marginBottom},
    };
    for (const auto& [key, field] : percentages)
        if (given(key)) storeValue(record.*field, pairs.getInt(key));
}

std::optional<LayoutRecord> findLayout(const std::string& name) {
    Registry& registry = layoutRegistry();
    std::shared_lock held(registry.lock);
    const auto found = registry.layouts.find(name);
    if (found == registry.layouts.end()) return std::nullopt;
    return found->second;
}

}  // namespace morva

bool morvaSetLayout(const char* name, const char* layout) {
    morva::CTraces scope("morvaSetLayout()");
    if (name == nullptr || *name == '\0') return false;
    morva::Registry& registry = morva::layoutRegistry();
    if (layout == nullptr || *layout == '\0') {
        std::unique_lock held(registry.lock);
        registry.layouts.erase(name);
        return true;
    }
    morva::LayoutRecord record;
    morva::resetLayout(record);
    morva::parseLayout(record, layout);
    std::unique_lock held(registry.lock);
    // A redefinition replaces the whole record; the key keeps its first
    // spelling.
    registry.layouts[name] = record;
    return true;
}
