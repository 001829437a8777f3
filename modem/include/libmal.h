/*
 * The modem abstraction client: what a module asks the device's modem side about the SIM.
 *
 * On a device the maker's own library takes this one's place, function for function. Everywhere else this is
 * a simulated modem that reads MAL_SIMULATION_FILE anew at every call: lines of key=value with the keys mpss,
 * sim_status, mcc, mnc and spn, of which the first counts; other lines mean nothing. What the file doesn't
 * tell, the modem doesn't know, and the call for it fails; only the modem side itself is up unless "mpss=0"
 * is there.
 *
 * Every function may be called from any thread. None of them waits for the modem.
 */
#ifndef QUOR_LIBMAL_H
#define QUOR_LIBMAL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

#define MAL_SIMULATION_FILE "/m_data/usr/modem/sim.conf"

#define MAL_SIM_SLOT_FIRST 1 /* the first SIM slot, the only one that is simulated */
#define MAL_SIM_PLMN_SIZE 8  /* bytes of a PLMN record */
#define MAL_SIM_SPN_SIZE 17  /* bytes of the longest service provider name, its NUL included */

/* What the calls return. A device's library may fail with other numbers; only these two are no failures. */
typedef enum mal_ret_e {
    MAL_NO_ERR = 0,              /* done */
    MAL_FAILURE_ERR = -1,        /* the only failure of the simulated modem */
    MAL_INITIAL_ALREADY_ERR = -5 /* the client is initialised already, and stays so */
} mal_ret_e;

/*
 * The SIM states that the product acts on, which is all that is known of them here: where two numbers are
 * treated alike, what sets them apart is the modem's business. Any other number (4, 6, 7, and from 9 on) has
 * no meaning for this system: such a SIM is neither usable nor waited for.
 */
typedef enum mal_sim_status_e {
    MAL_SIM_STATUS_NOT_READY = 0,   /* no SIM that could be used yet: asked again for about ten seconds */
    MAL_SIM_STATUS_PIN = 1,         /* waits for its PIN: not usable; asked again shortly at run time only */
    MAL_SIM_STATUS_USABLE = 2,      /* its PLMN and name can be read */
    MAL_SIM_STATUS_NOT_READY_3 = 3, /* as MAL_SIM_STATUS_NOT_READY */
    MAL_SIM_STATUS_USABLE_5 = 5,    /* as MAL_SIM_STATUS_USABLE */
    MAL_SIM_STATUS_NOT_READY_8 = 8  /* as MAL_SIM_STATUS_NOT_READY */
} mal_sim_status_e;

/* A PLMN as the modem hands it out: two NUL-terminated texts of digits. */
typedef struct mal_sim_plmn_t {
    char mcc[4]; /* mobile country code */
    char mnc[4]; /* mobile network code */
} mal_sim_plmn_t;

/*
 * Makes the process a client of the modem. The first call into this library.
 *
 * client_name: the module's name, not kept. options: 0.
 * Returns MAL_NO_ERR; MAL_INITIAL_ALREADY_ERR from the second time on; MAL_FAILURE_ERR for a null name.
 */
int32_t mal_client_init(const char *client_name, int32_t options);

/* Returns 0 while the modem side is not up, and anything else once it is. */
int32_t libmal_get_mpss_status(void);

/*
 * Asks for the state of a SIM.
 *
 * slot: MAL_SIM_SLOT_FIRST.
 * status: receives a mal_sim_status_e or another number; unchanged on failure.
 * Returns MAL_NO_ERR, or a failure when there is no such slot, status is null, or the state is not known.
 */
int32_t libmal_get_sim_status(int32_t slot, int32_t *status);

/*
 * Asks for the network of a SIM's operator.
 *
 * slot: MAL_SIM_SLOT_FIRST.
 * plmn: receives a mal_sim_plmn_t, at most three characters a code; unchanged on failure. size: bytes at
 * plmn, MAL_SIM_PLMN_SIZE or more.
 * Returns MAL_NO_ERR, or a failure when there is no such slot, plmn is null or too small, or either code is
 * not known.
 */
int32_t libmal_get_sim_plmn(int32_t slot, void *plmn, uint32_t size);

/*
 * Asks for the name of a SIM's service provider.
 *
 * slot: MAL_SIM_SLOT_FIRST.
 * spn: receives the NUL-terminated name, cut to the buffer; unchanged on failure. size: bytes at spn, 1 or
 * more.
 * Returns MAL_NO_ERR, or a failure when there is no such slot, spn is null or has no bytes, or the name is
 * not known. An empty name is known.
 */
int32_t libmal_get_sim_spn(int32_t slot, char *spn, uint32_t size);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
