/*
 * Values as texts and as JSON members, typed settings and shared records, device settings, checks of
 * addresses and host names, escaping, and the adaptation to the SIM and the product. Any thread may call
 * these functions, unless one says otherwise.
 */
#ifndef QUOR_FRWK_UTILS_H
#define QUOR_FRWK_UTILS_H

#include <stdbool.h>
#include <stdint.h>

#include "apps_err.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Checks whether a text can be a host name or an address: not empty, and only letters, digits and
 * "_-.[]:".
 *
 * text: null counts as empty. Returns 1 or 0.
 */
uint32_t frwk_domain_check(const char *text);

/*
 * Copies a text with a backslash before every special character. No terminator is written.
 *
 * specials: the characters to escape.
 * dst: zeroed by the caller. It must have size + 1 bytes, since the last escape may exceed size by one.
 * size: bytes; 0 or below copies nothing, as does a null or empty src.
 */
void frwk_utils_special_char_transform(const char *src, const char *specials, char *dst, int32_t size);

/*
 * Checks whether an IPv4 range is ordered. An invalid address counts as 0.0.0.0.
 *
 * Returns 1 if start is not above end, else 0.
 */
uint32_t frwk_check_ipv4_addr_range_valid(const char *start, const char *end);

/* As frwk_check_ipv4_addr_range_valid, for IPv6; an invalid address counts as ::. */
uint32_t frwk_check_ipv6_addr_range_valid(const char *start, const char *end);

/* An item of a parsed JSON text, as returned by the base library's json_parse. */
struct json_item;

/* The types of variables that settings are read into. Callers store the codes, so they never change. */
typedef enum frwk_data_type_e {
    FRWK_DATA_TYPE_BOOL = 1,       /* one byte, 0 or 1 */
    FRWK_DATA_TYPE_RESERVED2 = 2,  /* not a type: always refused */
    FRWK_DATA_TYPE_BYTE = 3,       /* uint8_t */
    FRWK_DATA_TYPE_UCHAR = 4,      /* uint8_t */
    FRWK_DATA_TYPE_RESERVED5 = 5,  /* not a type: always refused */
    FRWK_DATA_TYPE_SHORT = 6,      /* int16_t, except its lowest value */
    FRWK_DATA_TYPE_USHORT = 7,     /* uint16_t */
    FRWK_DATA_TYPE_INT = 8,        /* int32_t, except its lowest value */
    FRWK_DATA_TYPE_UINT = 9,       /* uint32_t */
    FRWK_DATA_TYPE_LONG = 10,      /* int32_t on every host, as long on a device */
    FRWK_DATA_TYPE_ULONG = 11,     /* uint32_t */
    FRWK_DATA_TYPE_LLONG = 12,     /* int64_t */
    FRWK_DATA_TYPE_ULLONG = 13,    /* uint64_t */
    FRWK_DATA_TYPE_STRING = 14,    /* an array of char with a NUL-terminated text */
    FRWK_DATA_TYPE_STRING_EX = 15, /* the same */
    FRWK_DATA_TYPE_FLOAT = 16,     /* float */
    FRWK_DATA_TYPE_DOUBLE = 17,    /* double */
    FRWK_DATA_TYPE_BASE64 = 18,    /* bytes stored as base64; only for the functions for encoded values */
    FRWK_DATA_TYPE_CIPHER = 19     /* bytes stored encrypted; only for the functions for encoded values */
} frwk_data_type_e;

/* The pairs of words for a boolean. Any other style means "1" and "0". */
typedef enum frwk_bool_style_e {
    FRWK_BOOL_STYLE_ON_OFF = 1,        /* "on", "off" */
    FRWK_BOOL_STYLE_YES_NO = 2,        /* "yes", "no" */
    FRWK_BOOL_STYLE_TRUE_FALSE = 3,    /* "true", "false" */
    FRWK_BOOL_STYLE_ENABLE_DISABLE = 4 /* "enable", "disable" */
} frwk_bool_style_e;

/*
 * Returns the word of a style (frwk_bool_style_e) for a boolean: a constant text, never null.
 *
 * value: anything but 0 is true.
 */
const char *frwk_bool_to_str(int32_t style, int32_t value);

/*
 * Parses a boolean: "1", "on", "yes", "true", "enable", or "0", "no", "off", "false", "disable", ignoring
 * case. A null or empty text is false.
 *
 * out: receives 0 or 1; unchanged if the text is not one of these words. May be null.
 * Returns 1 if the text is a boolean, else 0.
 */
int32_t frwk_str_to_bool(const char *text, uint8_t *out);

/*
 * Converts a text to a variable.
 *
 * Integers are decimal: leading white space and a sign are accepted, text after the last digit is
 * ignored, and a text without digits is 0. Numbers beyond the 32 bits of the types int to ulong, or the 64
 * bits of llong and ullong, become the nearest limit; for unsigned types always the largest number. A minus
 * before an unsigned number negates it modulo its range, so "-1" is the largest uint, ulong or ullong. A real
 * number is parsed like strtod in the "C" locale, whatever the module's locale; beyond a float's range it is
 * an infinite float.
 *
 * type: one of frwk_data_type_e up to FRWK_DATA_TYPE_DOUBLE.
 * text: null counts as empty.
 * out: the variable, aligned or not. Only its bytes are written: 1, 2, 4 or 8, or the text and its NUL.
 * size: size of out in bytes; may be more than the variable needs. For a text it must be below 2 GiB, or the
 * text doesn't fit.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_OUTOFBUF if the variable or the text needs more than size bytes;
 * E_APPS_ERR_PARAM if the text is not a boolean, the number is out of the type's range, the type is
 * unsupported, or out is null. On failure the variable is unchanged.
 */
apps_err_e_type frwk_str_to_value(int32_t type, const char *text, void *out, uint32_t size);

/*
 * Converts a variable to a text. A boolean becomes "true" or "false", an integer decimal digits. A real
 * number has a decimal point, whatever the module's locale, six decimals and at most 63 characters; longer
 * ones are truncated. A text is copied.
 *
 * type: one of frwk_data_type_e up to FRWK_DATA_TYPE_DOUBLE.
 * value: the variable, aligned or not; for the text types the text itself, where null counts as empty.
 * buf, size: receives the NUL-terminated text; size in bytes, including the NUL.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_OUTOFBUF if text and NUL need more than size bytes;
 * E_APPS_ERR_PARAM if the type is unsupported, buf is null, or value is null and the type is not a text type.
 * On failure buf is unchanged.
 */
apps_err_e_type frwk_value_to_str(int32_t type, const void *value, char *buf, int32_t size);

/*
 * Checks whether a text is one of the words of a list, ignoring case.
 *
 * list: words separated by ",", such as "auto,manual". Blanks belong to the word; an empty word matches
 * only the empty text.
 * Returns 1 or 0; 0 also if list or text is null, or without memory.
 */
int32_t frwk_check_enum_value(const char *list, const char *text);

/*
 * Reads a member of a JSON object into a variable.
 *
 * A string member is converted as frwk_str_to_value does. Any other member is read as a number. For the types
 * bool to uint it must be within the type's range; long and ulong receive the lowest 32 bits of the member's
 * 64-bit integer. Read as a text, such a member is empty, and fits any size except 0.
 *
 * object: from json_parse; not changed. No other thread may change it meanwhile.
 * name: the member's name. type, out, size: as for frwk_str_to_value.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_NOTFOUND if object has no such member; E_APPS_ERR_OUTOFBUF and
 * E_APPS_ERR_PARAM as frwk_str_to_value does, the latter also if object or name is null. On failure the
 * variable is unchanged.
 */
apps_err_e_type frwk_get_json_item_value(const struct json_item *object, int32_t type, const char *name,
                                         void *out, uint32_t size);

/* ---- Typed configuration --------------------------------------------------------------------------- */
/*
 * Settings of the configuration database (zndb.h) as typed variables. A call with a key sends one request to
 * the database, or none if its arguments are refused, and waits as the calls of zndb.h do. If the request
 * fails, the call returns what frwk_zndb_error_convert makes of its result. Keys have at most 31 characters.
 *
 * type is one of frwk_data_type_e. For the text types, the variable is the text itself.
 */

/*
 * Reads a setting into a variable.
 *
 * out, size: as for frwk_str_to_value; out is not null.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null argument; E_APPS_ERR_NOTFOUND, E_APPS_ERR_BUSY or
 * E_APPS_ERR_FAILURE if the database returns no value; E_APPS_ERR_OUTOFBUF also if the stored text
 * of a number has more than 63 characters; otherwise the result of frwk_str_to_value. On failure the content
 * of a text variable is undefined, any other variable unchanged.
 */
apps_err_e_type frwk_zndb_get_key_value(const char *key, int32_t type, void *out, uint32_t size);

/*
 * Writes a variable to the plain store.
 *
 * value: the variable; null means the empty text for a text type, and is refused otherwise.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null key or a variable that frwk_value_to_str refuses;
 * E_APPS_ERR_OUTOFBUF if the key or the text is too long; otherwise the request's result.
 */
apps_err_e_type frwk_zndb_set_key_value(const char *key, int32_t type, const void *value);

/* Writes a variable to the perm store; as frwk_zndb_set_key_value. */
apps_err_e_type frwk_zndb_set_key_perm_value(const char *key, int32_t type, const void *value);

/* Returns a boolean setting; false if it can't be read or is not a boolean. */
bool frwk_zndb_get_bool(const char *key);

/*
 * Reads bytes that were stored encoded.
 *
 * type: FRWK_DATA_TYPE_BASE64 or FRWK_DATA_TYPE_CIPHER; with any other type the call reads a value of at
 * most 1023 characters and converts it as frwk_str_to_value does.
 * out: receives the bytes, followed by a NUL if there is room for it.
 * size: size of out in bytes. It should be one more than the longest expected text, to have room for the NUL.
 * 0 or below has no room.
 * Returns E_APPS_ERR_SUCCESS, also for an empty stored value, which is an empty text; E_APPS_ERR_FORMAT if
 * the stored value was encoded in another way or on another device, or was altered; E_APPS_ERR_OUTOFBUF if
 * there are more than size bytes; E_APPS_ERR_FAILURE for a null argument; otherwise the request's result. On
 * failure out is unchanged.
 */
apps_err_e_type frwk_zndb_get_key_value_decrypt(const char *key, int32_t type, void *out, int32_t size);

/*
 * Stores bytes encoded, in the plain store.
 *
 * type: FRWK_DATA_TYPE_BASE64, which hides nothing, or FRWK_DATA_TYPE_CIPHER, for secrets; any other
 * type is passed to frwk_zndb_set_key_value.
 * data, length: the bytes and their number. The encoded text may have at most 1023 characters: 765 bytes as
 * base64, 725 encrypted.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_INTERNAL if the bytes can't be encoded; E_APPS_ERR_OUTOFBUF if
 * the encoded text is too long; otherwise the request's result.
 */
apps_err_e_type frwk_zndb_set_key_value_encrypt(const char *key, int32_t type, const void *data,
                                                uint32_t length);

/*
 * A buffer for writing a list of values as one text: "," between the items, and in an item "&amp;" for
 * "&" and "&#39;" for ",". The caller owns the buffer and its storage.
 */
typedef struct frwk_codec_buf_t {
    uint32_t size; /* bytes of data */
    uint32_t len;  /* bytes used so far, without the NUL */
    char *data;    /* zeroed by the caller before the first item */
} frwk_codec_buf_t;

/*
 * Appends an item to a list. Sends no request. One thread at a time for the same list.
 *
 * buf: null, or a buffer whose len is above its size, has no room.
 * value: the variable; null means the empty text for a text type, and is refused otherwise.
 * first: not 0 for the first item of a list, which gets no comma. A null text then appends nothing.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_OUTOFBUF if the list with its NUL needs more than buf->size bytes,
 * and the part that was appended stays; otherwise the result of frwk_value_to_str.
 */
apps_err_e_type frwk_zndb_add_value(frwk_codec_buf_t *buf, int32_t type, const void *value, int32_t first);

/*
 * Reads the first item of a list into a variable. Sends no request.
 *
 * text: the list; its first item is decoded in place. At the end of the list the item is empty.
 * out, size: as for frwk_str_to_value.
 * next: receives the rest of the list, for the next call; set even if the item can't be read, but not
 * if text is null. May be null.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM if text is null; otherwise the result of frwk_str_to_value.
 * On failure the variable is unchanged.
 */
apps_err_e_type frwk_zndb_get_value(char *text, int32_t type, void *out, uint32_t size, char **next);

/* ---- Shared records -------------------------------------------------------------------------------- */
/*
 * Records that several modules share, each stored as one list. Texts are NUL-terminated. If an item can't be
 * read, the members before it are filled and the others are unchanged.
 */

/* The state of a data connection. */
typedef struct frwk_conninfo_t {
    uint8_t connected;     /* 1 when the connection is up, else 0 */
    uint32_t uptime;       /* seconds since it came up; 0 if not connected */
    char macaddr[18];      /* MAC address */
    char ipaddr[16];       /* IPv4 address */
    char netmask[16];      /* IPv4 netmask */
    char gateway[16];      /* IPv4 gateway */
    char dns1[16];         /* first IPv4 DNS server */
    char dns2[16];         /* second IPv4 DNS server */
    char ipv6addr[46];     /* IPv6 address */
    char ipv6dns1[46];     /* first IPv6 DNS server */
    char ipv6dns2[46];     /* second IPv6 DNS server */
    char ifname[32];       /* interface name */
    int32_t cid;           /* call (context) id */
    int32_t ipv6_prefix;   /* length of the IPv6 prefix */
    char ipv6gw[46];       /* IPv6 gateway */
    char iface[32];        /* connection interface */
    int32_t call_end_type; /* type of the last call end */
    int32_t call_end_code; /* code of the last call end */
} frwk_conninfo_t;

/*
 * Reads the state of a data connection from its setting, with one request.
 *
 * The list has 18 items: "connected" (ignoring case) or any other word; the uptime of the device when
 * the connection came up, in seconds; then macaddr to ipv6dns2 in the order of the record; iface, ifname,
 * cid, ipv6_prefix, ipv6gw, call_end_type and call_end_code. Missing items count as empty.
 *
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null argument or an item out of its range;
 * E_APPS_ERR_OUTOFBUF for an item longer than its member; otherwise the result of frwk_zndb_get_key_value,
 * and then info is unchanged.
 */
apps_err_e_type frwk_zndb_get_conninfo(const char *key, frwk_conninfo_t *info);

/* A connection profile. */
typedef struct frwk_profile_t {
    char profilename[51]; /* profile name */
    char username[128];   /* user name */
    char password[128];   /* password; never logged */
    char apn[151];        /* access point name */
    int32_t authmode;     /* 0 none, 1 PAP, 2 CHAP, 3 PAP or CHAP */
    int32_t iptype;       /* 1 IPv4, 2 IPv6, 3 IPv4 and IPv6 */
    char readonly[33];    /* read-only mark, as stored */
} frwk_profile_t;

/*
 * Parses a connection profile from a list. Sends no request.
 *
 * text: profilename, apn, username, password, the authentication ("none", "pap", "chap" or "pap_chap"), the
 * IP type ("ipv4", "ipv6" or "ipv4v6") and readonly; the words may be in upper or lower case. The text is
 * decoded in place, so its content is lost, and no other thread may use it meanwhile.
 *
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_FAILURE for a null argument, an empty text, or an unknown
 * authentication or IP type; E_APPS_ERR_OUTOFBUF for an item longer than its member.
 */
apps_err_e_type frwk_parse_profile_str(char *text, frwk_profile_t *profile);

/* ---- Device settings ------------------------------------------------------------------------------- */
/*
 * Settings that several modules share. Each call waits for the database as those of zndb.h do, and for the
 * commands that it runs.
 */

/*
 * Restores a debug mode that was set permanently: sets "device_debug_mode" and runs the debug-mode script
 * with "start". For the module that starts the device.
 *
 * Returns 1, even on failure.
 */
int32_t frwk_debug_mode_init(void);

/*
 * Switches the device's debug mode: sets "device_debug_mode" to "true" or "false", then runs the debug-mode
 * script with "start" or "stop". The script is /m_data/usr/debug_mode.sh or, if that is missing,
 * /m_webui/usr/debug_mode.sh.
 *
 * enable: 0 switches it off, anything else on.
 * mode: how long it lasts, ignoring case: "rom" and "perm" across reboots, "perm" in the permanent area;
 * "ram", "" or null until the next reboot; any other word leaves the duration unchanged. Ignored if enable is
 * 0.
 * Returns 1, even if the script fails; 0 if the database refused, and then nothing was done.
 */
int32_t frwk_debug_mode_set(int32_t enable, const char *mode);

/*
 * Changes the language of the web interface, "webs_language", saves it, and publishes
 * E_APPS_MSG_SYS_LANGUAGE_CHANGE, without data, to the modules that subscribed to the event of this name.
 *
 * language: one of the list in "webs_language_support", such as "en#English,zh#Chinese", ignoring case;
 * stored unchanged.
 *
 * Returns 1, or 0 if the language is null, empty or not in the list, or the database refused.
 */
int32_t frwk_language_change(const char *language);

/*
 * As frwk_language_change, for the language of the user agreement: the settings "webs_usragree_language" and
 * "webs_usragree_lang_support", and the event E_APPS_MSG_SYS_USRAGREE_LANGUAGE_CHANGE.
 */
int32_t frwk_user_agreement_language_change(const char *language);

/*
 * Writes the trace mask of the modem service. Each file in "/m_data/usr/trace" is named after a module to be
 * traced; modules that are not in the start-up list, or are disabled, are ignored. Removes the mask if the
 * file "mal_service" is missing there, or if there is nothing to trace.
 *
 * Returns 1, or 0 if the mask can't be written; it does not exist then.
 */
int32_t frwk_set_mals_tracemask(void);

/* ---- Capabilities ---------------------------------------------------------------------------------- */
/* Constant properties of this product build: 1 or 0. */

/* Returns whether it is a pv build: 0. */
int32_t frwk_utils_is_pv_version(void);

/* Returns whether it has the modem side (MPSS): 1. */
int32_t frwk_utils_is_mpss_support(void);

/* Returns whether it supports the soft access point: 1. */
int32_t frwk_utils_is_softap_support(void);

/* ---- Operator and product data --------------------------------------------------------------------- */

/*
 * Adapts the device to the operator of the inserted SIM: finds the operator's file and, unless it is already
 * applied, replaces the previous operator's settings in the perm store. docs/sim-adaptation.md describes the
 * rules.
 *
 * The setting "mnet_sim_subnet_adapt_status" is the progress: 0 in progress, 1 adapted and a reboot
 * follows, 2 finished. Nothing else is reported. One thread of the device at a time may call it.
 *
 * type: 0 for a check at run time, which never reboots; anything else for the adaptation at boot, which
 * requests a reboot with reason 801 from the monitor if it changed something.
 *
 * It sleeps on the calling thread: up to 10 seconds for the SIM, at run time up to 19 if failures
 * alternate with a SIM that waits for its PIN; 20 for its PLMN; 2 before a reboot; without limit while the
 * modem side is not up. So it must not be called from a message handler.
 */
void frwk_sim_subnet_handle(int32_t type);

/*
 * Stores the settings of a product data file in the plain store, with one request for each line key=value.
 *
 * It doesn't save: the database saves by itself later, at a reboot for example. The results of the requests
 * are ignored. Comments begin with '#' in the first column. A line longer than 1056 characters is split into
 * pieces of this length, each of which counts as a line. A line without '=' is skipped, and so is a full
 * piece, unless removing the blanks at its ends shortens it.
 *
 * path: the file.
 * Returns 0 if the file was read, or -1 if path is null or the file can't be opened. If reading fails
 * midway, that is logged, the remaining lines are not stored, and the result is 0 too. It waits as the calls
 * of zndb.h do, once for each line.
 */
int32_t frwk_specify_path_db_adapt(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
