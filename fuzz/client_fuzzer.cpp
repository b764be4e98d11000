/**
 * A client that calls the client library in any order and with any arguments that its interface
 * can express: a call may refuse, but then it says why; and what the client gave back, and what its
 * transaction held, is gone at the end.
 */
#include "base_card.h"
#include "checker/model_schema.h"
#include "client.h"
#include "engine/data/crypto.h"
#include "engine/data/yang_check.h"
#include "engine/edit/edit.h"

#include <confd_cdb.h>
#include <confd_maapi.h>

#include <vector>

namespace fuzz
{

using engine::Datastore;

namespace
{

constexpr const char *kEdit = R"(<config xmlns="urn:olt:gpon:base"
 xmlns:yang="urn:ietf:params:xml:ns:yang:1" xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0">
<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>
<downstream-fec>true</downstream-fec>
<onu><onu-id>1</onu-id><rg-override-parameters><parameter yang:insert="first"><name>a</name>
</parameter></rg-override-parameters><snmp><real-time nc:operation="delete"/></snmp></onu>
<onu nc:operation="delete"><onu-id>2</onu-id></onu></gpon></interface>
<gpon><card>1/1</card><rg-one-shot-prov/></gpon>
<service-port nc:operation="delete"><id>2</id></service-port></config>)";

const Datastore &running()
{
    static const Datastore tree = [] {
        Datastore parsed =
            Datastore::parse(host::model_schema(), {"base card", test_support::kBaseCard});
        engine::check_yang(parsed, "base card");
        return parsed;
    }();
    return tree;
}

const Datastore &candidate()
{
    static const Datastore tree = [] {
        Datastore edited = engine::apply_edit(running(), {"edit", kEdit});
        engine::check_yang(edited, "edit");
        return edited;
    }();
    return tree;
}

} // namespace

Client::Client(ByteReader bytes)
    : m_bytes(bytes), m_arguments(m_bytes), m_framework(running().copy())
{
    reopen();
    begin_again();
}

Client::~Client()
{
    forget_values();
    for (auto *result : m_results) {
        maapi_query_free_result(result);
    }
    const auto &held = engine::Hooks::instance().held;
    require(held.values == 0, "values are held: " + std::to_string(held.values));
    require(held.query_results == 0, "query results are held");
    m_framework.end(m_transaction);
    require(held.none(), "a cursor or query is held after the end of its transaction");
}

void Client::step()
{
    static constexpr std::array<Step, 27> kSteps{&Client::read_leaf,      &Client::read_typed_leaf,
                                                 &Client::read_text,      &Client::read_list,
                                                 &Client::look,           &Client::open_cursor,
                                                 &Client::move_cursor,    &Client::read_objects,
                                                 &Client::close_cursor,   &Client::read_values,
                                                 &Client::start_query,    &Client::fetch_results,
                                                 &Client::free_results,   &Client::stop_query,
                                                 &Client::evaluate,       &Client::walk_changes,
                                                 &Client::read_committed, &Client::look_at_schema,
                                                 &Client::print_values,   &Client::print_keypaths,
                                                 &Client::decrypt,        &Client::leave_text,
                                                 &Client::reopen,         &Client::close,
                                                 &Client::begin_again,    &Client::forget_values,
                                                 &Client::move_cursor};
    (this->*m_bytes.pick(kSteps))();
}

int Client::told(int result)
{
    require(confd_lasterr() != nullptr, "confd_lasterr is null");
    if (result < 0) {
        require(result == CONFD_ERR, "result " + std::to_string(result));
        require(confd_errno >= CONFD_ERR_NOEXISTS && confd_errno <= CONFD_ERR_XPATH,
                "a failure without a code: " + std::to_string(confd_errno));
        require(confd_errno != CONFD_ERR_INTERNAL,
                std::string("an internal failure: ") + confd_lasterr());
        require(confd_lasterr()[0] != '\0', "a failure without a text");
    }
    return result;
}

int Client::socket()
{
    switch (m_bytes.below(16)) {
    case 13:
        return m_cdb;
    case 14:
        return static_cast<int>(m_bytes.byte()) - 1;
    default:
        return m_maapi;
    }
}

void Client::start_query()
{
    const std::string expression = m_arguments.xpath();
    const std::string context = m_arguments.path();
    const std::string first = m_arguments.xpath();
    const std::string second = m_arguments.xpath();
    std::array<const char *, 2> select{first.c_str(), second.c_str()};
    std::array<const char *, 2> sort{second.c_str(), first.c_str()};
    const int chunk = static_cast<int>(m_bytes.below(5)) - 1;
    const int offset = m_bytes.one_in(8) ? static_cast<int>(m_bytes.word()) : 1;
    const auto kind = static_cast<confd_query_result_type>(m_bytes.byte() % 4);
    const int selects = static_cast<int>(m_bytes.below(4)) - 1;
    const int sorts = m_bytes.one_in(3) ? static_cast<int>(m_bytes.below(3)) : 0;
    const char *context_node = m_bytes.one_in(3) ? context.c_str() : nullptr;
    const int sock = socket();
    const int th = handle();
    const int query = call([&] {
        return maapi_query_start(sock, th, expression.c_str(), context_node, chunk, offset, kind,
                                 std::min(selects, 2), select.data(), sorts, sort.data());
    });
    m_queries.push_back(query);
}

void Client::require_result_sound(const confd_query_result &result)
{
    require(result.nresults >= 0 && result.nelements >= 1, "a chunk of no known size");
    for (int row = 0; row < result.nresults; ++row) {
        for (int column = 0; column < result.nelements; ++column) {
            if (result.type == CONFD_QUERY_STRING) {
                require(result.results[row].str[column] != nullptr, "a null text in a result");
            } else if (result.type == CONFD_QUERY_HKEYPATH) {
                const auto &keypath = result.results[row].hkp[column];
                require(keypath.len == 0 ||
                            maapi_exists(m_maapi, m_transaction, "%h", &keypath) == 1,
                        std::string("a result's keypath is not there: ") + confd_lasterr());
            }
        }
    }
}

void Client::fetch_results()
{
    confd_query_result *result = nullptr;
    const int query = m_bytes.pick(m_queries);
    if (call([&] { return maapi_query_result(socket(), query, &result); }) != CONFD_OK) {
        require(result == nullptr, "a result after a failure");
        return;
    }
    m_results.push_back(result);
    require_result_sound(*result);
}

void Client::free_results()
{
    if (!m_results.empty()) {
        maapi_query_free_result(m_results.back());
        m_results.pop_back();
    }
}

void Client::stop_query()
{
    const int query = m_bytes.pick(m_queries);
    call([&] { return maapi_query_stop(socket(), query); });
}

void Client::evaluate()
{
    const std::string expression = m_arguments.xpath();
    char *text = nullptr;
    const int sock = socket();
    const int th = handle();
    const auto trace = m_bytes.one_in(2) ? [](char *) {} : static_cast<void (*)(char *)>(nullptr);
    const int result = call_with_path([&](auto... path) {
        return maapi_xpath_eval_expr(sock, th, expression.c_str(), &text, trace, path...);
    });
    require((result == CONFD_OK) == (text != nullptr), "the text of maapi_xpath_eval_expr");
    std::free(text);
}

void Client::walk_changes()
{
    static constexpr std::array<maapi_iter_ret, 3> kAnswers{ITER_RECURSE, ITER_CONTINUE, ITER_STOP};
    maapi_diff_iter_t *visit = [](confd_hkeypath_t *keypath, confd_iter_op operation,
                                  confd_value_t *before, confd_value_t * /*after*/, void *state) {
        auto &self = *static_cast<Client *>(state);
        require(before == nullptr, "a value from before");
        const int exists = maapi_exists(self.m_maapi, self.m_transaction, "%h", keypath);
        require(exists == (operation == MOP_DELETED ? 0 : 1),
                std::string("a changed node's keypath cannot be read: ") + confd_lasterr());
        return self.m_bytes.one_in(8) ? self.m_bytes.pick(kAnswers) : ITER_RECURSE;
    };
    const int sock = socket();
    // Of this transaction: the visitor looks its nodes up there.
    const int th = m_transaction;
    const int flags = m_bytes.one_in(16) ? 1 : 0;
    call_with_path([&](auto... path) {
        return maapi_keypath_diff_iterate(sock, th, visit, flags, this, path...);
    });
}

void Client::read_committed()
{
    const int sock = m_bytes.one_in(16) ? socket() : m_cdb;
    int flag = 0;
    const std::size_t kind = m_bytes.below(3);
    call_with_path([&](auto... path) {
        switch (kind) {
        case 0:
            return cdb_exists(sock, path...);
        case 1:
            return cdb_get_bool(sock, &flag, path...);
        default:
            return cdb_num_instances(sock, path...);
        }
    });
}

void Client::look_at_schema()
{
    const confd_cs_node *start = m_bytes.one_in(2) ? confd_cs_node_cd(nullptr, "/config") : nullptr;
    confd_cs_node *node = nullptr;
    call_with_path([&](auto... path) {
        node = confd_cs_node_cd(start, path...);
        return node != nullptr ? CONFD_OK : CONFD_ERR;
    });
    call([&] { return confd_max_object_size(node); });
    if (node != nullptr) {
        require(confd_hash2str(node->tag) != nullptr, "a node without a name");
        const confd_value_t value = m_arguments.value();
        std::vector<char> buffer(m_bytes.below(20));
        call([&] {
            return confd_val2str(node->info.type, &value, buffer.data(),
                                 static_cast<int>(buffer.size()));
        });
    }
    confd_hash2str(m_bytes.word());
}

void Client::print_values()
{
    std::vector<char> buffer(m_bytes.below(20));
    const confd_value_t value = m_arguments.value();
    const int size = m_bytes.one_in(8) ? -1 : static_cast<int>(buffer.size());
    require(confd_pp_value(buffer.data(), size, &value) >= 0, "a negative length");
}

void Client::print_keypaths()
{
    std::vector<char> buffer(m_bytes.below(80));
    require(confd_pp_kpath(buffer.data(), static_cast<int>(buffer.size()), m_arguments.keypath()) >=
                0,
            "a negative length");
}

void Client::decrypt()
{
    if (m_bytes.one_in(2)) {
        call([&] { return maapi_install_crypto_keys(socket()); });
    }
    const std::string text =
        m_bytes.one_in(2) ? engine::encrypt(m_arguments.any_text()) : m_arguments.any_text();
    std::vector<char> output(text.size());
    call([&] { return confd_decrypt(text.data(), static_cast<int>(text.size()), output.data()); });
}

void Client::leave_text()
{
    confd_trans_ctx context{};
    const std::string text = m_arguments.any_text();
    confd_trans_seterr(&context, "%s", text.c_str());
    confd_trans_seterr(&context, "again %s %d", context.error.str, m_bytes.byte());
    require(context.error.str != nullptr, "no text was left");
    std::free(context.error.str);
}

void Client::reopen()
{
    close();
    m_maapi = m_framework.open_socket(engine::SocketKind::kMaapi);
    m_cdb = m_framework.open_socket(engine::SocketKind::kCdb);
}

void Client::close()
{
    m_framework.close_socket(m_maapi);
    m_framework.close_socket(m_cdb);
}

void Client::begin_again()
{
    if (m_transaction != 0) {
        m_framework.end(m_transaction);
    }
    m_transaction = m_framework.begin(candidate().copy()).handle();
}

void Client::forget_values()
{
    for (auto &value : m_values) {
        confd_free_value(&value);
        require(value.type != C_BUF && value.type != C_LIST, "a freed value owns something");
    }
    m_values.clear();
}

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Client(fuzz::ByteReader(data, size)).run();
    return 0;
}
