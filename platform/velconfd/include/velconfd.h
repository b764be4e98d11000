/**
 * @file
 * Management middleware: sockets towards the configuration framework.
 *
 * `context` is the word that the host registered with its validation callback
 * (`confd_trans_ctx::vcb_opaque`).
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** @return The MAAPI socket attached to the transaction behind the context, or -1. */
int velconfd_maapi_socket_get(void *context);

/**
 * Opens a read session on the committed configuration.
 * @return Its CDB socket, above 0; 0 or less on failure.
 */
int velconfd_config_session_start(void *context);

/** Ends the context's latest read session. Harmless when none is open. */
void velconfd_config_session_end(void *context);

#ifdef __cplusplus
}
#endif
