/**
 * @file
 * The host's side of the middleware: the word that stands behind a context, and what the
 * library under test leaves open. A card's middleware has its own.
 */
#pragma once

namespace velconfd
{

/** A context as the host registers it: owns the MAAPI socket of its validations. */
class Context
{
public:
    Context();
    ~Context();
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;

    /** The context word: give it to the validation callback as `vcb_opaque`. */
    void *word() { return this; }
    /** Read sessions on the committed configuration that were started and not ended. */
    int open_sessions() const;
};

/** While set, velmw_singleton_get answers null, as before the middleware is up. */
void set_singleton_available(bool available);

} // namespace velconfd
