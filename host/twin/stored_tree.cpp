#include "twin/stored_tree.h"

#include "engine/data/defaults.h"
#include "engine/edit/edit.h"

namespace host::twin
{

engine::Datastore tree_of(const std::shared_ptr<const engine::Schema> &schema,
                          const StoredConfiguration &stored)
{
    const std::string name = "history";
    auto tree = engine::Datastore::parse(schema, {name, stored.snapshot});
    engine::add_defaults(tree);
    for (const auto &edit : stored.edits) {
        engine::UndoLog log(tree);
        engine::apply_edit(log, {name, edit});
        log.keep();
    }
    return tree;
}

} // namespace host::twin
