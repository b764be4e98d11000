/** Models of a few lines, where the card's has no such case. */
#pragma once

#include "engine/data/yang_check.h"
#include "engine/schema/schema_loader.h"
#include "support/model.h"

#include <memory>
#include <string>

namespace test_support
{

/** A model with one module `t`, namespace urn:t, of these statements. */
inline std::shared_ptr<const engine::Schema>
small_schema(const std::string &statements,
             std::uint32_t (*tag_of)(std::string_view) = model::tag_of)
{
    engine::ModelSource source = model_source();
    source.texts.push_back({"t", "module t { yang-version 1.1; namespace urn:t; prefix t;"
                                 " import tailf-common { prefix tailf; } " +
                                     statements + "}"});
    source.main_module = "t";
    source.tag_of = tag_of;
    return engine::load_schema(source);
}

/** A checked configuration of a small model. */
inline engine::Datastore small_config(const std::shared_ptr<const engine::Schema> &schema,
                                      const std::string &xml)
{
    auto tree = engine::Datastore::parse(schema, {"small.xml", xml});
    engine::check_yang(tree, "small.xml");
    return tree;
}

} // namespace test_support
