#include "engine/session/framework.h"

#include "engine/data/model_check.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"

#include <algorithm>

namespace engine
{
namespace
{

Framework *g_current = nullptr;

const char *name_of(SocketKind kind)
{
    return kind == SocketKind::kMaapi ? "MAAPI" : "CDB";
}

/** Where a number stands among ascending ones; the end, if it does not. */
template <typename Numbered>
auto place_of(const Numbered &numbered, int number)
{
    const auto found = std::lower_bound(numbered.begin(), numbered.end(), number,
                                        [](const auto &one, int to) { return one.first < to; });
    return found != numbered.end() && found->first == number ? found : numbered.end();
}

} // namespace

Transaction::Transaction(int handle, const Datastore &committed, Datastore candidate)
    : m_handle(handle), m_committed(committed), m_candidate(std::move(candidate))
{
}

Transaction::Transaction(int handle, std::unique_ptr<UndoLog> log)
    : m_handle(handle), m_committed(log->tree()), m_log(std::move(log))
{
}

Transaction::~Transaction() = default;

const std::vector<Change> &Transaction::changes() const
{
    if (!m_changes) {
        m_changes = m_log ? changes_of(*m_log) : compare(m_committed, *m_candidate);
    }
    return *m_changes;
}

int Transaction::add_resource(std::unique_ptr<TransactionResource> resource)
{
    const int number = m_next_resource++;
    m_resources.emplace_back(number, std::move(resource));
    return number;
}

TransactionResource *Transaction::find(int number) const
{
    const auto found = place_of(m_resources, number);
    return found != m_resources.end() ? found->second.get() : nullptr;
}

bool Transaction::drop_resource(int number)
{
    const auto found = place_of(m_resources, number);
    if (found == m_resources.end()) {
        return false;
    }
    m_resources.erase(found);
    return true;
}

Framework::Framework(Datastore running) : m_running(std::move(running))
{
    if (g_current != nullptr) {
        throw Error(CONFD_ERR_BADSTATE, "the framework runs already in this process");
    }
    g_current = this;
}

Framework::~Framework()
{
    g_current = nullptr;
}

Framework &Framework::current()
{
    if (g_current == nullptr) {
        throw Error(CONFD_ERR_BADSTATE, "the framework does not run in this process");
    }
    return *g_current;
}

bool Framework::exists()
{
    return g_current != nullptr;
}

int Framework::open_socket(SocketKind kind)
{
    const int sock = m_next_socket++;
    m_sockets.emplace(sock, kind);
    return sock;
}

void Framework::close_socket(int sock)
{
    m_sockets.erase(sock);
}

void Framework::require_socket(int sock, SocketKind kind) const
{
    const auto found = m_sockets.find(sock);
    if (found == m_sockets.end()) {
        throw Error(CONFD_ERR_BADSTATE, "socket " + std::to_string(sock) + " is not open");
    }
    if (found->second != kind) {
        throw Error(CONFD_ERR_BADSTATE, "socket " + std::to_string(sock) + " is a " +
                                            name_of(found->second) + " socket, not a " +
                                            name_of(kind) + " socket");
    }
}

int Framework::open_sockets(SocketKind kind) const
{
    return static_cast<int>(
        std::count_if(m_sockets.begin(), m_sockets.end(),
                      [kind](const auto &entry) { return entry.second == kind; }));
}

TreeView Framework::committed() const
{
    for (const auto &[handle, transaction] : m_transactions) {
        if (transaction->is_in_place()) {
            return transaction->committed();
        }
    }
    return m_running;
}

Transaction &Framework::begin(Datastore candidate)
{
    return add(std::make_unique<Transaction>(m_next_transaction, m_running, std::move(candidate)));
}

Transaction &Framework::begin()
{
    return add(
        std::make_unique<Transaction>(m_next_transaction, std::make_unique<UndoLog>(m_running)));
}

Transaction &Framework::begin(const Source &edit)
{
    if (!m_transactions.empty()) {
        throw Error(CONFD_ERR_INUSE, "another transaction is open");
    }
    if (schema().has_when()) {
        return begin(apply_edit(m_running, edit)); // The check against the model may remove nodes.
    }
    if (m_has_checked) {
        judge_running(); // It pays from the second edit on.
    }
    auto log = std::make_unique<UndoLog>(m_running);
    apply_edit(*log, edit);
    return add(std::make_unique<Transaction>(m_next_transaction, std::move(log)));
}

Transaction &Framework::add(std::unique_ptr<Transaction> transaction)
{
    return *m_transactions.emplace(m_next_transaction++, std::move(transaction)).first->second;
}

void Framework::check_yang(Transaction &transaction, const Source &source)
{
    m_has_checked = true;
    if (transaction.m_candidate) {
        engine::check_yang(*transaction.m_candidate, source);
        return;
    }
    transaction.m_is_sound = schema().rules().are_covered && keeps_rules(*transaction.m_log);
    if (!transaction.m_is_sound) {
        engine::check_yang(m_running, source); // It knows the texts, and has the last word.
    }
}

bool Framework::keeps_rules(const UndoLog &log)
{
    if (m_soundness != Soundness::kSound || is_read_afar(log)) {
        return engine::keeps_rules(m_running) && !has_dangling_references(m_running);
    }
    apply(log, m_references);
    const bool has_dangling = m_references.has_dangling();
    if (!m_forgets_undo) {
        take_back(log, m_references);
    }
    return !has_dangling && engine::keeps_rules(log);
}

void Framework::keep(UndoLog &log, bool is_sound)
{
    if (is_sound && m_soundness == Soundness::kSound) {
        apply(log, m_references);
    } else {
        m_soundness = Soundness::kUnknown;
    }
    log.keep();
}

void Framework::judge_running()
{
    if (m_soundness != Soundness::kUnknown || !schema().rules().are_covered) {
        return;
    }
    m_references = references_of(m_running);
    const bool is_sound = engine::keeps_rules(m_running) && !m_references.has_dangling();
    m_soundness = is_sound ? Soundness::kSound : Soundness::kFaulty;
}

Transaction &Framework::transaction(int handle)
{
    const auto found = m_transactions.find(handle);
    if (found == m_transactions.end()) {
        throw Error(CONFD_ERR_NOSESSION, "there is no transaction " + std::to_string(handle));
    }
    return *found->second;
}

void Framework::end(int handle)
{
    m_transactions.erase(handle);
}

void Framework::commit(int handle)
{
    Transaction &ending = transaction(handle);
    if (m_transactions.size() > 1) {
        throw Error(CONFD_ERR_INUSE, "another transaction is open");
    }
    std::optional<Datastore> candidate = std::move(ending.m_candidate);
    if (ending.m_log) {
        keep(*ending.m_log, ending.m_is_sound);
    }
    end(handle);
    if (candidate) {
        m_running = std::move(*candidate);
        m_soundness = Soundness::kUnknown;
    }
}

} // namespace engine
