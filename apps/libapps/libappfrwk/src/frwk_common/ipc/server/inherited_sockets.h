/*
 * The sockets of a module's service in a child that the module has forked.
 */
#pragma once

/*
 * Closes the listening socket and each connection that came by it, the one too that a thread of the parent
 * had just accepted and not yet noted.
 *
 * listener: closed in any case. No other thread may run.
 */
void close_inherited_sockets(int listener);
