/**
 * Edits made in place, one after the other, some of them kept: each gives the candidate that a copy
 * gives, tells the changes that comparing copies tells, is judged by YANG as a copy is, and leaves
 * no trace when it is undone.
 */
#include "base_card.h"
#include "byte_reader.h"
#include "checker/model_schema.h"
#include "edit_maker.h"
#include "engine/data/changes.h"
#include "engine/data/crypto.h"
#include "engine/data/path.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"
#include "engine/session/framework.h"
#include "finding.h"

#include <algorithm>
#include <optional>

namespace
{

using engine::Change;
using engine::ChangeKind;
using engine::Datastore;
using fuzz::require;

/** A value in clear text: the same text is encrypted in another way each time. */
std::string value_of(const lyd_node *node)
{
    if (node == nullptr || (node->schema->nodetype & LYD_NODE_TERM) == 0) {
        return "";
    }
    const std::string value = lyd_get_value(node);
    return value.rfind("$8$", 0) == 0 ? engine::decrypt(value).value_or(value) : value;
}

/** All that a tree holds: values, order, and which nodes are defaults. */
void dump(const lyd_node *siblings, std::string &text)
{
    for (; siblings != nullptr; siblings = siblings->next) {
        text += siblings->schema->name;
        text += (siblings->flags & LYD_DEFAULT) != 0 ? "*" : "";
        if ((siblings->schema->nodetype & LYD_NODE_TERM) != 0) {
            text += "=" + value_of(siblings);
        }
        lyd_node *found = nullptr;
        const bool is_found =
            lyd_find_sibling_first(lyd_first_sibling(siblings), siblings, &found) == LY_SUCCESS;
        require(is_found && found == siblings, text + "\ncannot be found by its hash");
        lyd_node *first = nullptr;
        lyd_find_sibling_val(siblings, siblings->schema, nullptr, 0, &first);
        require(first != nullptr &&
                    (first->prev->next == nullptr || first->prev->schema != first->schema),
                text + "\nits list has another first entry");
        text += " {";
        dump(lyd_child(siblings), text);
        text += "}\n";
    }
}

/** The lines from the first one on that differ. */
std::string difference(const std::string &a, const std::string &b)
{
    const auto at = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    constexpr std::size_t kShown = 300;
    const auto from = static_cast<std::size_t>(at.first - a.begin());
    const auto begin = from > kShown / 2 ? from - kShown / 2 : 0;
    return a.substr(begin, kShown) + "\n-----\n" + b.substr(begin, kShown);
}

std::string dump(const Datastore &tree)
{
    std::string text;
    dump(tree.root(), text);
    return text;
}

void list(const std::vector<Change> &changes, std::string &text)
{
    for (const Change &change : changes) {
        text += engine::path_text(change.node()) + " " +
                std::to_string(static_cast<int>(change.kind)) + " " + value_of(change.before) +
                "->" + value_of(change.after) + "\n";
        list(change.children, text);
    }
}

std::string list(const std::vector<Change> &changes)
{
    std::string text;
    list(changes, text);
    return text;
}

/** What libyang and we say of a candidate; empty: nothing. */
template <typename Check>
std::string faults(const Check &check)
{
    try {
        check();
    } catch (const engine::InputError &failure) {
        return failure.what();
    }
    return {};
}

/** Nodes of a configuration as a view of it tells them. */
void require_view(const engine::TreeView &view, const lyd_node *siblings, const lyd_node *parent)
{
    for (; siblings != nullptr; siblings = siblings->next) {
        if (siblings->schema->nodetype == LYS_LEAFLIST && siblings->prev->next != nullptr &&
            siblings->prev->schema == siblings->schema) {
            continue; // A view tells the first entry.
        }
        const auto *seen = view.counterpart(siblings);
        require(seen != nullptr, engine::path_text(siblings) + " is not seen behind the edit");
        require(value_of(seen) == value_of(siblings),
                engine::path_text(siblings) + " is " + value_of(seen) + " behind the edit, not " +
                    value_of(siblings));
        if (siblings->schema->nodetype == LYS_LIST) {
            const auto &list = *engine::Schema::of(siblings);
            std::size_t count = 0;
            for (const auto *entry = engine::first_instance(nullptr, parent, list);
                 entry != nullptr; entry = engine::next_instance(entry)) {
                ++count;
            }
            require(view.count(view.counterpart(parent), list) == count,
                    engine::path_text(siblings) + ": another number of entries behind the edit");
        }
        require_view(view, lyd_child(siblings), siblings);
    }
}

class Series
{
public:
    explicit Series(fuzz::ByteReader &bytes) : m_bytes(bytes), m_framework(base()) {}

    void step()
    {
        fuzz::EditMaker maker(*host::model_schema(), m_bytes);
        const engine::Source edit{"edit.xml",
                                  m_bytes.one_in(4) ? maker.make() : maker.make_small()};
        const Datastore before = m_framework.running().copy();
        const std::string all_before = dump(before);
        std::optional<Datastore> candidate;
        const std::string refused =
            faults([&] { candidate.emplace(engine::apply_edit(before, edit)); });
        engine::Transaction *transaction = nullptr;
        const std::string refused_in_place =
            faults([&] { transaction = &m_framework.begin(edit); });
        require(refused == refused_in_place, "the edit is refused otherwise in place:\n" + refused +
                                                 "\n" + refused_in_place + "\n" + edit.text);
        bool keep = false;
        if (transaction != nullptr) {
            keep = compare(edit, before, *candidate, *transaction) && m_bytes.one_in(2);
            keep ? m_framework.commit(transaction->handle())
                 : m_framework.end(transaction->handle());
        }
        const std::string left = dump(m_framework.running());
        const std::string expected = keep ? dump(*candidate) : all_before;
        require(left == expected, "another configuration is left behind by\n" + edit.text + "\n" +
                                      difference(expected, left));
    }

private:
    static Datastore base()
    {
        static const Datastore checked = [] {
            const engine::Source source{"base card", test_support::kBaseCard};
            auto tree = Datastore::parse(host::model_schema(), source);
            engine::check_yang(tree, source);
            return tree;
        }();
        return checked.copy();
    }

    /** @return Whether the candidate may be committed. */
    bool compare(const engine::Source &edit, const Datastore &before, Datastore &candidate,
                 engine::Transaction &transaction)
    {
        require_view(transaction.committed(), before.root(), nullptr);
        const auto full = faults([&] { engine::check_yang(candidate, edit); });
        const auto in_place = faults([&] { m_framework.check_yang(transaction, edit); });
        require(full == in_place, "the model is said to refuse\n" + full + "\nand in place\n" +
                                      in_place + "\nof\n" + edit.text);
        if (!full.empty()) {
            return false;
        }
        const auto expected = list(engine::compare(before, candidate));
        const auto told = list(transaction.changes());
        require(expected == told, "these are the changes:\n" + expected + "\nthese are told:\n" +
                                      told + "\nof\n" + edit.text);
        const std::string copy = dump(candidate);
        const std::string made = dump(m_framework.running());
        require(copy == made, "another candidate is made in place by\n" + edit.text + "\n" +
                                  difference(copy, made));
        return true;
    }

    fuzz::ByteReader &m_bytes;
    engine::Framework m_framework;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::ByteReader bytes(data, size);
    Series series(bytes);
    for (int edits = 0; edits < 8 && !bytes.is_empty(); ++edits) {
        series.step();
    }
    return 0;
}
