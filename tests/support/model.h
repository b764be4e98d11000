/** The card's data model and small configurations of it, for tests. */
#pragma once

#include "card_model.h"
#include "engine/data/datastore.h"
#include "engine/data/yang_check.h"
#include "engine/schema/schema_loader.h"
#include "tags.h"

#include <memory>
#include <string>
#include <utility>

namespace test_support
{

/** The card's model as the engine wants it. */
inline engine::ModelSource model_source()
{
    engine::ModelSource source;
    for (const auto &text : model::yang_texts()) {
        source.texts.push_back({std::string(text.name), std::string(text.text)});
    }
    source.main_module = std::string(model::kMainModule);
    source.ns = model::kNamespaceTag;
    source.tag_of = model::tag_of;
    return source;
}

/** The card's model, loaded once for all tests. */
inline std::shared_ptr<const engine::Schema> schema()
{
    static const auto loaded = engine::load_schema(model_source());
    return loaded;
}

/** What stands inside <config>, made a whole configuration. */
inline std::string config_xml(const std::string &inside)
{
    return "<config xmlns=\"urn:olt:gpon:base\" "
           "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\""
           " xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\">" +
           inside + "</config>";
}

/** Parses a whole configuration of the card, given as XML or JSON; not checked. */
inline engine::Datastore parse(const std::string &text)
{
    return engine::Datastore::parse(schema(), {"test.xml", text});
}

/** Parses what stands inside <config>; not checked. */
inline engine::Datastore parse_config(const std::string &inside)
{
    return parse(config_xml(inside));
}

/** Parses and checks what stands inside <config>. */
inline engine::Datastore checked_config(const std::string &inside)
{
    auto tree = parse_config(inside);
    engine::check_yang(tree, "test.xml");
    return tree;
}

} // namespace test_support
