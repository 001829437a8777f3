/*
 * The journal of a service that had one for all stores: when such a service is replaced, its unsaved changes
 * move to the stores' own journals. One thread at a time.
 */
#pragma once

/*
 * Moves the records to the ends of the stores' journals, and removes the old journal. Does nothing without
 * one.
 *
 * Returns 0, or an errno value, which is logged. Then nothing is lost, and the call has to be repeated before
 * the stores' journals are read.
 */
int take_over_old_journal();
