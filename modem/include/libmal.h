/*
 * The modem abstraction client: queries of the modem and its SIM.
 *
 * A device has its own library with the same functions. This one is a simulated modem for a PC. It reads
 * MAL_SIMULATION_FILE at every call: lines of key=value with the keys mpss, sim_status, mcc, mnc and spn. If
 * a key occurs twice, the first line counts; other lines are ignored. A call whose key is missing fails,
 * except that the modem side is up unless the file has "mpss=0".
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
#define MAL_SIM_SPN_SIZE 17  /* bytes of the longest service provider name, including the NUL */

/* Results. A device's library may fail with other numbers; MAL_FAILURE_ERR is not the only failure. */
typedef enum mal_ret_e {
    MAL_NO_ERR = 0,              /* done */
    MAL_FAILURE_ERR = -1,        /* the only failure of the simulated modem */
    MAL_INITIAL_ALREADY_ERR = -5 /* the client was already initialised: not a failure */
} mal_ret_e;

/*
 * The SIM states that the product acts on. Two states may be treated alike here, although the modem
 * distinguishes them. With any other number (4, 6, 7, and from 9 on) the SIM is neither usable nor waited
 * for.
 */
typedef enum mal_sim_status_e {
    MAL_SIM_STATUS_NOT_READY = 0,   /* not usable yet: polled for about ten seconds */
    MAL_SIM_STATUS_PIN = 1,         /* waits for its PIN: not usable; polled briefly, only at run time */
    MAL_SIM_STATUS_USABLE = 2,      /* its PLMN and name can be read */
    MAL_SIM_STATUS_NOT_READY_3 = 3, /* as MAL_SIM_STATUS_NOT_READY */
    MAL_SIM_STATUS_USABLE_5 = 5,    /* as MAL_SIM_STATUS_USABLE */
    MAL_SIM_STATUS_NOT_READY_8 = 8  /* as MAL_SIM_STATUS_NOT_READY */
} mal_sim_status_e;

/* A PLMN: two NUL-terminated texts of digits. */
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

/* Returns 0 while the modem side is not up, else another number. */
int32_t libmal_get_mpss_status(void);

/*
 * Reads the state of a SIM.
 *
 * slot: MAL_SIM_SLOT_FIRST.
 * status: receives a mal_sim_status_e or another number; unchanged on failure.
 * Returns MAL_NO_ERR, or a failure if the slot doesn't exist, status is null, or the state is unknown.
 */
int32_t libmal_get_sim_status(int32_t slot, int32_t *status);

/*
 * Reads the home network (PLMN) of a SIM.
 *
 * slot: MAL_SIM_SLOT_FIRST.
 * plmn: receives a mal_sim_plmn_t, at most three characters for each code; unchanged on failure.
 * size: size of plmn in bytes, MAL_SIM_PLMN_SIZE or more.
 * Returns MAL_NO_ERR, or a failure if the slot doesn't exist, plmn is null or too small, or either code is
 * unknown.
 */
int32_t libmal_get_sim_plmn(int32_t slot, void *plmn, uint32_t size);

/*
 * Reads the service provider name of a SIM.
 *
 * slot: MAL_SIM_SLOT_FIRST.
 * spn: receives the NUL-terminated name, truncated to the buffer; unchanged on failure.
 * size: size of spn in bytes, 1 or more.
 * Returns MAL_NO_ERR, or a failure if the slot doesn't exist, spn is null, size is 0, or the name is
 * unknown. An empty name is valid.
 */
int32_t libmal_get_sim_spn(int32_t slot, char *spn, uint32_t size);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
