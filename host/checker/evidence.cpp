#include "checker/evidence.h"

#include "engine/data/text_places.h"

namespace host
{
namespace
{

const char *word_for(engine::ChangeKind kind)
{
    switch (kind) {
    case engine::ChangeKind::kCreated:
        return "created";
    case engine::ChangeKind::kDeleted:
        return "deleted";
    case engine::ChangeKind::kMoved:
        return "moved";
    case engine::ChangeKind::kInside:
    case engine::ChangeKind::kValue:
        break;
    }
    return "changed";
}

/** Of a leaf; a leaf-list may have many values. */
std::optional<std::string> value_of(const engine::SchemaNode &schema, const lyd_node *node)
{
    if (node == nullptr || !schema.is_leaf() || schema.is_empty_leaf()) {
        return std::nullopt;
    }
    return engine::is_secret(schema) ? engine::kMaskedValue : lyd_get_value(node);
}

/** Where the reader of a report should look first. */
engine::TextPlace place_of(const RuleRun &run, const engine::TextPlaces &places)
{
    if (run.change != nullptr) {
        return places.of(run.change->node());
    }
    return run.instance == nullptr ? places.of_root() : places.of(run.instance);
}

} // namespace

ChangedNode changed_node(const engine::Change &change, const std::string &path)
{
    return {path, word_for(change.kind), value_of(*change.schema, change.before),
            value_of(*change.schema, change.after)};
}

void add_evidence(Outcome &outcome, const engine::Schema &schema, const engine::Source &source)
{
    const engine::TextPlaces places(schema, source);
    for (RuleRun &run : outcome.runs) {
        if (run.answer.verdict == engine::Verdict::kAccepted) {
            continue;
        }
        Evidence &evidence = run.evidence.emplace();
        if (run.change != nullptr) {
            evidence.cause = changed_node(*run.change, run.cause);
        }
        const auto place = place_of(run, places);
        evidence.location = {source.name, place.line, static_cast<unsigned>(place.column)};
    }
}

} // namespace host
