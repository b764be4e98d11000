#include "twin/ssh_server.h"

#include <chrono>
#include <cstring>
#include <libssh/callbacks.h>
#include <libssh/libssh.h>
#include <libssh/server.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace host::twin
{
namespace
{

constexpr long kTimeout_s = 30;

struct Free {
    void operator()(ssh_bind bind) const { ssh_bind_free(bind); }
    void operator()(ssh_session session) const
    {
        ssh_disconnect(session);
        ssh_free(session);
    }
};
using Bind = std::unique_ptr<ssh_bind_struct, Free>;
using SshSession = std::unique_ptr<ssh_session_struct, Free>;

/** What a client asks for, step by step. libssh keeps pointers to it. */
class Admission
{
public:
    explicit Admission(const std::filesystem::path &keys) : m_keys(keys)
    {
        ssh_callbacks_init(&m_server);
        m_server.userdata = this;
        m_server.auth_pubkey_function = authenticate;
        m_server.channel_open_request_session_function = open_channel;
        ssh_callbacks_init(&m_requests);
        m_requests.userdata = this;
        m_requests.channel_subsystem_request_function = start_subsystem;
    }
    Admission(const Admission &) = delete;
    Admission &operator=(const Admission &) = delete;

    void watch(ssh_session session) { ssh_set_server_callbacks(session, &m_server); }
    bool is_done() const { return m_is_done; }
    ssh_channel channel() const { return m_channel; }
    const Identity &who() const { return *m_who; }

private:
    /** Is called once for a key that is offered, and once for what is signed with it. */
    static int authenticate(ssh_session, const char *user, ssh_key_struct *key, char state,
                            void *self)
    {
        const auto who = static_cast<Admission *>(self)->find(key, user);
        if (!who || (state != SSH_PUBLICKEY_STATE_NONE && state != SSH_PUBLICKEY_STATE_VALID)) {
            return SSH_AUTH_DENIED;
        }
        if (state == SSH_PUBLICKEY_STATE_VALID) {
            static_cast<Admission *>(self)->m_who = who;
        }
        return SSH_AUTH_SUCCESS;
    }

    static ssh_channel open_channel(ssh_session session, void *self)
    {
        auto &admission = *static_cast<Admission *>(self);
        if (!admission.m_who || admission.m_channel != nullptr) {
            return nullptr; // A connection has one session.
        }
        admission.m_channel = ssh_channel_new(session);
        ssh_set_channel_callbacks(admission.m_channel, &admission.m_requests);
        return admission.m_channel;
    }

    static int start_subsystem(ssh_session, ssh_channel, const char *name, void *self)
    {
        const bool is_known = std::strcmp(name, "netconf") == 0;
        static_cast<Admission *>(self)->m_is_done = is_known;
        return is_known ? SSH_OK : SSH_ERROR;
    }

    std::optional<Identity> find(ssh_key key, const char *user) const
    {
        char *text = nullptr;
        if (!std::filesystem::exists(m_keys) ||
            ssh_pki_export_pubkey_base64(key, &text) != SSH_OK) {
            return std::nullopt;
        }
        const std::string base64(text);
        ssh_string_free_char(text);
        const char *type = ssh_key_type_to_char(ssh_key_type(key));
        try {
            return AuthorizedKeys::read(m_keys).find(type, base64, user != nullptr ? user : "");
        } catch (const AccessError &) {
            return std::nullopt; // No exception may pass through libssh.
        }
    }

    std::filesystem::path m_keys;
    ssh_server_callbacks_struct m_server{};
    ssh_channel_callbacks_struct m_requests{};
    std::optional<Identity> m_who;
    ssh_channel m_channel = nullptr; /**< The session's. */
    bool m_is_done = false;
};

class SshStream : public Stream
{
public:
    SshStream(std::unique_ptr<Admission> admission, SshSession session)
        : m_admission(std::move(admission)), m_session(std::move(session)),
          m_channel(m_admission->channel())
    {
    }
    ~SshStream() override
    {
        ssh_channel_send_eof(m_channel);
        ssh_channel_close(m_channel);
    }
    SshStream(const SshStream &) = delete;
    SshStream &operator=(const SshStream &) = delete;
    int fd() const override { return ssh_get_fd(m_session.get()); }

    std::optional<std::size_t> read(char *data, std::size_t size) override
    {
        const int count =
            ssh_channel_read_nonblocking(m_channel, data, static_cast<std::uint32_t>(size), 0);
        if (count > 0) {
            return static_cast<std::size_t>(count);
        }
        if (count == SSH_ERROR || ssh_channel_is_closed(m_channel) != 0) {
            throw std::runtime_error("the client has gone");
        }
        if (count == SSH_EOF || ssh_channel_is_eof(m_channel) != 0) {
            return std::nullopt;
        }
        return 0;
    }

    void write(const char *data, std::size_t size) override
    {
        while (size > 0) {
            const int count = ssh_channel_write(m_channel, data, static_cast<std::uint32_t>(size));
            if (count <= 0) {
                throw std::runtime_error("the client does not read, or has gone");
            }
            data += count;
            size -= static_cast<std::size_t>(count);
        }
    }

private:
    std::unique_ptr<Admission> m_admission;
    SshSession m_session;
    ssh_channel m_channel; /**< The session's. */
};

[[noreturn]] void fail(const std::string &what, void *speaker)
{
    throw std::runtime_error(what + ": " + ssh_get_error(speaker));
}

void await(ssh_session session, const Admission &admission)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kTimeout_s);
    const std::unique_ptr<ssh_event_struct, void (*)(ssh_event)> event(ssh_event_new(),
                                                                       ssh_event_free);
    ssh_event_add_session(event.get(), session);
    while (!admission.is_done()) {
        constexpr int kRound_ms = 500;
        if (ssh_event_dopoll(event.get(), kRound_ms) == SSH_ERROR) {
            fail("SSH", session);
        }
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("SSH: the client does not ask for NETCONF");
        }
    }
    ssh_event_remove_session(event.get(), session);
}

} // namespace

void ensure_host_key(const std::filesystem::path &path)
{
    if (std::filesystem::exists(path)) {
        return;
    }
    ssh_key key = nullptr;
    const ::mode_t before = ::umask(077);
    const bool is_made =
        ssh_pki_generate(SSH_KEYTYPE_ED25519, 0, &key) == SSH_OK &&
        ssh_pki_export_privkey_file(key, nullptr, nullptr, nullptr, path.c_str()) == SSH_OK;
    ::umask(before);
    ssh_key_free(key);
    if (!is_made) {
        throw std::runtime_error(path.string() + " cannot be written: there is no host key");
    }
}

Admitted accept_ssh(int fd, const std::filesystem::path &host_key,
                    const std::filesystem::path &keys)
{
    const Bind bind(ssh_bind_new());
    SshSession session(ssh_new());
    const bool no_config = false; // The machine's own settings for sshd are not ours.
    ssh_bind_options_set(bind.get(), SSH_BIND_OPTIONS_PROCESS_CONFIG, &no_config);
    ssh_bind_options_set(bind.get(), SSH_BIND_OPTIONS_HOSTKEY, host_key.c_str());
    if (ssh_bind_accept_fd(bind.get(), session.get(), fd) != SSH_OK) {
        ::close(fd);
        fail("SSH", bind.get());
    }
    ssh_options_set(session.get(), SSH_OPTIONS_TIMEOUT, &kTimeout_s);
    ssh_set_auth_methods(session.get(), SSH_AUTH_METHOD_PUBLICKEY);
    auto admission = std::make_unique<Admission>(keys);
    admission->watch(session.get());
    if (ssh_handle_key_exchange(session.get()) != SSH_OK) {
        fail("SSH key exchange", session.get());
    }
    await(session.get(), *admission);
    const Identity who = admission->who();
    return {std::make_unique<SshStream>(std::move(admission), std::move(session)), who};
}

} // namespace host::twin
