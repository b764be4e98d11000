#include "bundle/archive.h"

#include "engine/data/error.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

namespace host
{
namespace
{

[[noreturn]] void refuse(const std::string &name, const std::string &message,
                         engine::Fault fault = engine::Fault::kMalformed)
{
    throw engine::InputError({{fault, name, 0, "", message, ""}});
}

struct EndWriting {
    void operator()(archive *packed) const { archive_write_free(packed); }
};
struct EndReading {
    void operator()(archive *packed) const { archive_read_free(packed); }
};
struct EndEntry {
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};

void require(bool is_done, archive *packed)
{
    if (!is_done) {
        const char *reason = archive_error_string(packed);
        throw std::runtime_error(std::string("cannot pack: ") +
                                 (reason != nullptr ? reason : "unknown reason"));
    }
}

la_ssize_t append(archive * /*packed*/, void *text, const void *bytes, size_t size)
{
    static_cast<std::string *>(text)->append(static_cast<const char *>(bytes), size);
    return static_cast<la_ssize_t>(size);
}

/** A relative path of plain words. */
bool is_plain(const std::string &path)
{
    const auto is_allowed = [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') ||
               letter == '.' || letter == '-' || letter == '/';
    };
    return !path.empty() && path.front() != '/' && path.find("..") == std::string::npos &&
           std::all_of(path.begin(), path.end(), is_allowed);
}

std::string name_of(const std::string &name, archive_entry *entry)
{
    const char *path = archive_entry_pathname(entry);
    const std::string text = path != nullptr ? path : "";
    if (!is_plain(text)) {
        refuse(name, "an entry has a name that no bundle has: " + text);
    }
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) != nullptr ||
        archive_entry_symlink(entry) != nullptr) {
        refuse(name, "an entry is no plain file: " + text);
    }
    return text;
}

std::string read_entry(const std::string &name, archive *packed, std::size_t room)
{
    constexpr std::size_t kPiece = std::size_t{64} << 10U;
    const auto piece = std::make_unique<std::array<char, kPiece>>();
    std::string text;
    while (true) {
        const la_ssize_t size = archive_read_data(packed, piece->data(), piece->size());
        if (size < 0) {
            const char *reason = archive_error_string(packed);
            refuse(name, std::string("damaged: ") + (reason != nullptr ? reason : "unknown"));
        }
        if (size == 0) {
            return text;
        }
        if (text.size() + static_cast<std::size_t>(size) > room) {
            refuse(name, "more is packed in it than the limit for an input",
                   engine::Fault::kTooLarge);
        }
        text.append(piece->data(), static_cast<std::size_t>(size));
    }
}

} // namespace

std::string pack(const PackedFiles &files)
{
    constexpr int kMode = 0644;
    std::string text;
    const std::unique_ptr<archive, EndWriting> packed(archive_write_new());
    require(archive_write_add_filter_zstd(packed.get()) == ARCHIVE_OK, packed.get());
    require(archive_write_set_format_ustar(packed.get()) == ARCHIVE_OK, packed.get());
    // No tape: zeros behind the last block would be no part of what is compressed.
    archive_write_set_bytes_in_last_block(packed.get(), 1);
    require(archive_write_open(packed.get(), &text, nullptr, append, nullptr) == ARCHIVE_OK,
            packed.get());
    for (const auto &[name, content] : files) {
        const std::unique_ptr<archive_entry, EndEntry> entry(archive_entry_new());
        archive_entry_set_pathname(entry.get(), name.c_str());
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(content.size()));
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), kMode);
        archive_entry_set_mtime(entry.get(), 0, 0);
        require(archive_write_header(packed.get(), entry.get()) == ARCHIVE_OK, packed.get());
        require(archive_write_data(packed.get(), content.data(), content.size()) ==
                    static_cast<la_ssize_t>(content.size()),
                packed.get());
    }
    require(archive_write_close(packed.get()) == ARCHIVE_OK, packed.get());
    return text;
}

PackedFiles unpack(const std::string &name, std::string_view archive_text,
                   const UnpackLimits &limits)
{
    const std::unique_ptr<archive, EndReading> packed(archive_read_new());
    // No other formats: they are not asked for, and have had their faults.
    archive_read_support_filter_zstd(packed.get());
    archive_read_support_format_tar(packed.get());
    if (archive_read_open_memory(packed.get(), archive_text.data(), archive_text.size()) !=
        ARCHIVE_OK) {
        refuse(name, "no bundle: it is no tar archive that is compressed with Zstandard");
    }
    PackedFiles files;
    std::size_t size = 0;
    archive_entry *entry = nullptr;
    int status = ARCHIVE_OK;
    while ((status = archive_read_next_header(packed.get(), &entry)) == ARCHIVE_OK) {
        if (files.size() == limits.max_files) {
            refuse(name, "too many files are packed in it", engine::Fault::kTooLarge);
        }
        const std::string path = name_of(name, entry);
        std::string text = read_entry(name, packed.get(), limits.max_bytes - size);
        size += text.size();
        if (!files.emplace(path, std::move(text)).second) {
            refuse(name, "an entry is there twice: " + path);
        }
    }
    if (status != ARCHIVE_EOF) {
        const char *reason = archive_error_string(packed.get());
        refuse(name, std::string("no bundle, or a damaged one: ") +
                         (reason != nullptr ? reason : "unknown"));
    }
    return files;
}

} // namespace host
