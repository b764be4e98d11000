/**
 * @file
 * The running framework: committed configuration, transactions and sockets.
 */
#pragma once

#include "engine/data/changes.h"
#include "engine/data/entry_index.h"
#include "engine/data/error.h"
#include "engine/data/reference_index.h"
#include "engine/data/tree_view.h"
#include "engine/session/hooks.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace engine
{

/** What a transaction must release when it ends: cursors and queries that clients left. */
class TransactionResource
{
public:
    virtual ~TransactionResource() = default;
};

/** A candidate being validated, with what clients opened in it. */
class Transaction
{
public:
    /** On a candidate of its own. */
    Transaction(int handle, const Datastore &committed, Datastore candidate);
    /** On the committed configuration, changed in place. */
    Transaction(int handle, std::unique_ptr<UndoLog> log);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    int handle() const { return m_handle; }
    /** What is committed, which stands in no tree of its own where the change was made in place. */
    TreeView committed() const { return {m_committed, m_log.get()}; }
    const Datastore &candidate() const { return m_candidate ? *m_candidate : m_committed; }
    bool is_in_place() const { return m_log != nullptr; }
    /** Of the candidate. */
    EntryIndex &index() const { return m_index; }
    /** Computed on the first call. */
    const std::vector<Change> &changes() const;

    /** @return A number above 0 that find_resource knows. */
    int add_resource(std::unique_ptr<TransactionResource> resource);
    /** Null when there is none of that number, or it is another thing than a T. */
    template <typename T>
    T *find_resource(int number) const
    {
        static_assert(std::is_final_v<T>); // So that its type is looked at once.
        TransactionResource *resource = find(number);
        const bool is_it = resource != nullptr && typeid(*resource) == typeid(T);
        return is_it ? static_cast<T *>(resource) : nullptr;
    }
    /** @return Whether there was one. */
    bool drop_resource(int number);
    /** Releases what clients left: the library that made it may be unloaded next. */
    void drop_resources() { m_resources.clear(); }

private:
    friend class Framework;

    TransactionResource *find(int number) const;

    int m_handle;
    const Datastore &m_committed;
    std::optional<Datastore> m_candidate; /**< Nothing when the change was made in place. */
    std::unique_ptr<UndoLog> m_log;
    bool m_is_sound = false; /**< By the engine's own check, after a change in place. */
    mutable EntryIndex m_index;
    mutable std::optional<std::vector<Change>> m_changes;
    /** With their numbers, which ascend: few at a time. */
    std::vector<std::pair<int, std::unique_ptr<TransactionResource>>> m_resources;
    int m_next_resource = 1;
};

enum class SocketKind { kMaapi, kCdb };

/**
 * The framework of this process; the client library's calls find it through `current`. At most one
 * exists at a time. Not thread-safe: the host validates on one thread.
 */
class Framework
{
public:
    /** @param running  The committed configuration, checked. */
    explicit Framework(Datastore running);
    ~Framework();
    Framework(const Framework &) = delete;
    Framework &operator=(const Framework &) = delete;

    /** @throws Error  CONFD_ERR_BADSTATE when there is none. */
    static Framework &current();
    static bool exists();

    const Schema &schema() const { return m_running.schema(); }
    /** The committed configuration; as long as an edit is open that was made in place, with it. */
    const Datastore &running() const { return m_running; }
    /** The committed configuration, whatever is open. */
    TreeView committed() const;

    /** @return A socket number above 0. */
    int open_socket(SocketKind kind);
    void close_socket(int sock);
    /** @throws Error  CONFD_ERR_BADSTATE: closed, never opened, or of the other kind. */
    void require_socket(int sock, SocketKind kind) const;
    int open_sockets(SocketKind kind) const;

    /** Starts a transaction on a candidate (checked by the caller, or deliberately not). */
    Transaction &begin(Datastore candidate);
    /** Starts a transaction that changes nothing. */
    Transaction &begin();
    /**
     * Starts a transaction on the committed configuration with an edit, which is made in place
     * where the model allows it, and undone when the transaction ends.
     * @throws InputError  As apply_edit; nothing has changed.
     * @throws Error       CONFD_ERR_INUSE: another transaction is open.
     */
    Transaction &begin(const Source &edit);
    /**
     * Checks a transaction's candidate against the model. After an edit made in place, only what
     * the edit can have broken is looked at, if that is known of the model and what is committed
     * was found sound: see model_check.
     * @throws InputError  As engine::check_yang.
     */
    void check_yang(Transaction &transaction, const Source &source);
    /** @throws Error  CONFD_ERR_NOSESSION: unknown handle. */
    Transaction &transaction(int handle);
    void end(int handle);
    /**
     * Ends the transaction and makes its candidate the committed configuration.
     * @throws Error  CONFD_ERR_INUSE: another transaction is open, on what is committed now.
     */
    void commit(int handle);

    /** For a test: what an edit did to the index of references stays when it is undone. */
    void forget_undo() { m_forgets_undo = true; }

    /** Whether maapi_install_crypto_keys has been called in this process. */
    bool crypto_keys_installed = false;

private:
    /** Whether what is committed keeps the rules of the model: the engine's own check. */
    enum class Soundness { kUnknown, kSound, kFaulty };

    Transaction &add(std::unique_ptr<Transaction> transaction);
    bool keeps_rules(const UndoLog &log);
    void judge_running();
    void keep(UndoLog &log, bool is_sound);

    Datastore m_running;
    Soundness m_soundness = Soundness::kUnknown;
    ReferenceIndex m_references; /**< Of what is committed, if that is sound. */
    bool m_has_checked = false;
    bool m_forgets_undo = false;
    std::map<int, SocketKind> m_sockets;
    std::map<int, std::unique_ptr<Transaction>> m_transactions;
    int m_next_socket = 1;
    int m_next_transaction = 1;
};

} // namespace engine
