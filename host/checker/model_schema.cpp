#include "checker/model_schema.h"

#include "card_model.h"
#include "engine/schema/schema_loader.h"
#include "tags.h"

namespace host
{
namespace
{

engine::ModelSource model_source()
{
    engine::ModelSource source;
    for (const auto &text : model::yang_texts()) {
        source.texts.push_back({std::string(text.name), std::string(text.text)});
    }
    source.main_module = model::kMainModule;
    source.ns = model::kNamespaceTag;
    source.tag_of = model::tag_of;
    return source;
}

} // namespace

const std::shared_ptr<const engine::Schema> &model_schema()
{
    // Never freed: trees may be left when the process ends, and nobody waits for it to be tidy.
    static const auto &loaded =
        *new std::shared_ptr<const engine::Schema>(engine::load_schema(model_source()));
    return loaded;
}

} // namespace host
