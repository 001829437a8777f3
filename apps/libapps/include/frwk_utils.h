/*
 * Values as texts and as JSON members, typed settings and the records that modules share, the device's own
 * settings, checks of addresses and host names, escaping, and the adaptation to the SIM and the product. The
 * calls may be made from any thread unless they say otherwise.
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
 * Tells whether a text can be a host name or an address: not empty, and made of letters, digits and
 * "_-.[]:" only.
 *
 * Returns 1 or 0. text: null is empty.
 */
uint32_t frwk_domain_check(const char *text);

/*
 * Copies a text with a backslash before every special character. No terminator is written.
 *
 * specials: the characters to escape.
 * dst: zeroed by the caller, and one byte larger than size, since the last escape may pass it.
 * size: bytes; 0 or below copies nothing, as does a null or empty src.
 */
void frwk_utils_special_char_transform(const char *src, const char *specials, char *dst, int32_t size);

/*
 * Tells whether an IPv4 range is ordered. A text that is no address counts as 0.0.0.0.
 *
 * Returns 1 when start is not above end, else 0.
 */
uint32_t frwk_check_ipv4_addr_range_valid(const char *start, const char *end);

/* The same for IPv6; a text that is no address counts as ::. */
uint32_t frwk_check_ipv6_addr_range_valid(const char *start, const char *end);

/* An item of a parsed JSON text, as the base library's json_parse hands out. */
struct json_item;

/* The types of variables that settings are read into. The codes are stored by callers and never change. */
typedef enum frwk_data_type_e {
    FRWK_DATA_TYPE_BOOL = 1,       /* one byte, 0 or 1 */
    FRWK_DATA_TYPE_RESERVED2 = 2,  /* no type: always refused */
    FRWK_DATA_TYPE_BYTE = 3,       /* uint8_t */
    FRWK_DATA_TYPE_UCHAR = 4,      /* uint8_t */
    FRWK_DATA_TYPE_RESERVED5 = 5,  /* no type: always refused */
    FRWK_DATA_TYPE_SHORT = 6,      /* int16_t, without its lowest value */
    FRWK_DATA_TYPE_USHORT = 7,     /* uint16_t */
    FRWK_DATA_TYPE_INT = 8,        /* int32_t, without its lowest value */
    FRWK_DATA_TYPE_UINT = 9,       /* uint32_t */
    FRWK_DATA_TYPE_LONG = 10,      /* int32_t: the long of a device, on every host */
    FRWK_DATA_TYPE_ULONG = 11,     /* uint32_t */
    FRWK_DATA_TYPE_LLONG = 12,     /* int64_t */
    FRWK_DATA_TYPE_ULLONG = 13,    /* uint64_t */
    FRWK_DATA_TYPE_STRING = 14,    /* an array of char that holds a NUL-terminated text */
    FRWK_DATA_TYPE_STRING_EX = 15, /* the same */
    FRWK_DATA_TYPE_FLOAT = 16,     /* float */
    FRWK_DATA_TYPE_DOUBLE = 17,    /* double */
    FRWK_DATA_TYPE_BASE64 = 18,    /* bytes stored as base64; known to the calls for encoded values only */
    FRWK_DATA_TYPE_CIPHER = 19     /* bytes stored enciphered; known to the calls for encoded values only */
} frwk_data_type_e;

/* The pairs of words for a boolean. Any other style stands for "1" and "0". */
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
 * Reads a boolean's word: "1", "on", "yes", "true", "enable", or "0", "no", "off", "false", "disable", in
 * upper or lower case. A null or empty text is false.
 *
 * out: receives 0 or 1; unchanged when the text is none of the words. May be null.
 * Returns 1 when the text is a boolean, else 0.
 */
int32_t frwk_str_to_bool(const char *text, uint8_t *out);

/*
 * Reads a text into a variable.
 *
 * Integers are decimal: leading white space and a sign are accepted, what follows the last digit is
 * ignored, and no digits at all are 0. Numbers beyond the 32 bits of the types int to ulong, or the 64 bits
 * of llong and ullong, are read as the nearest limit, for unsigned types as the largest whatever the sign. A
 * minus before an unsigned number negates it within its bits, so that "-1" is the largest uint, ulong or
 * ullong. A real number is read as strtod reads it in the "C" locale, whatever the module's locale; beyond a
 * float's range it is an infinite float.
 *
 * type: one of frwk_data_type_e up to FRWK_DATA_TYPE_DOUBLE.
 * text: null is empty.
 * out: the variable, aligned or not. Only its own bytes are written: 1, 2, 4 or 8, or the text and its NUL.
 * size: bytes at out, which may be more than the variable's; for a text below 2 GiB, or it doesn't fit.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_OUTOFBUF when the variable or the text needs more than size bytes;
 * E_APPS_ERR_PARAM when the text is no boolean, the number is out of the type's range, the type is
 * unsupported, or out is null. On failure the variable is unchanged.
 */
apps_err_e_type frwk_str_to_value(int32_t type, const char *text, void *out, uint32_t size);

/*
 * Writes a variable as a text: "true" or "false", decimal digits, a real number with a point, whatever the
 * module's locale, six decimals and at most 63 characters (longer ones are cut off), or the text that it is.
 *
 * type: one of frwk_data_type_e up to FRWK_DATA_TYPE_DOUBLE.
 * value: the variable, aligned or not; for the text types the text itself, and null is empty.
 * buf, size: receives the NUL-terminated text; size is in bytes, the NUL included.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_OUTOFBUF when text and NUL need more than size bytes;
 * E_APPS_ERR_PARAM when the type is unsupported, buf is null, or value is null and the type is no text type.
 * On failure buf is unchanged.
 */
apps_err_e_type frwk_value_to_str(int32_t type, const void *value, char *buf, int32_t size);

/*
 * Tells whether a text is one of the words of a list, in upper or lower case.
 *
 * list: words separated by ",", such as "auto,manual". Blanks belong to the word; an empty word matches
 * the empty text only.
 * Returns 1 or 0; 0 also when list or text is null, or there is no memory.
 */
int32_t frwk_check_enum_value(const char *list, const char *text);

/*
 * Reads a member of a JSON object into a variable.
 *
 * A string member is read as frwk_str_to_value reads its text. Any other member counts as its number, and
 * has to lie within the range of the types bool to uint; long and ulong take the lowest 32 bits of its
 * 64-bit integer. As a text such a member is empty, and fits any size but 0.
 *
 * object: of json_parse; not changed, and no other thread may change it meanwhile.
 * name: the member's name. type, out, size: as for frwk_str_to_value.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_NOTFOUND when object has no such member; E_APPS_ERR_OUTOFBUF and
 * E_APPS_ERR_PARAM as frwk_str_to_value does, the latter also when object or name is null. On failure the
 * variable is unchanged.
 */
apps_err_e_type frwk_get_json_item_value(const struct json_item *object, int32_t type, const char *name,
                                         void *out, uint32_t size);

/* ---- Typed configuration --------------------------------------------------------------------------- */
/*
 * Settings of the configuration database (zndb.h) as typed variables. A call with a key is one request to
 * the database, or none when its arguments are refused, and waits as the calls of zndb.h do; its result for
 * a request that failed is that of frwk_zndb_error_convert. Keys have at most 31 characters.
 *
 * type is one of frwk_data_type_e. For the text types, a variable is the text itself.
 */

/*
 * Reads a setting into a variable.
 *
 * out, size: as for frwk_str_to_value; out is not null.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null argument; E_APPS_ERR_NOTFOUND, E_APPS_ERR_BUSY or
 * E_APPS_ERR_FAILURE when the database has no value to give; E_APPS_ERR_OUTOFBUF also when the stored text
 * of a number has more than 63 characters; otherwise what frwk_str_to_value returns. On failure a text's
 * array is undefined, any other variable unchanged.
 */
apps_err_e_type frwk_zndb_get_key_value(const char *key, int32_t type, void *out, uint32_t size);

/*
 * Writes a variable to the plain store.
 *
 * value: the variable; null is the empty text when type is a text type, and refused otherwise.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null key or a variable that frwk_value_to_str refuses;
 * E_APPS_ERR_OUTOFBUF for a key or a text that is too long; otherwise the request's result.
 */
apps_err_e_type frwk_zndb_set_key_value(const char *key, int32_t type, const void *value);

/* Writes a variable to the perm store; as frwk_zndb_set_key_value. */
apps_err_e_type frwk_zndb_set_key_perm_value(const char *key, int32_t type, const void *value);

/* Returns a setting that is a boolean, and false when it can't be read or is none. */
bool frwk_zndb_get_bool(const char *key);

/*
 * Reads bytes that were stored encoded.
 *
 * type: FRWK_DATA_TYPE_BASE64 or FRWK_DATA_TYPE_CIPHER; with any other type the call reads a value of at
 * most 1023 characters as frwk_str_to_value does.
 * out: receives the bytes, and a NUL behind them when there is room for one. size: bytes at out; one more
 * than the longest text that is expected makes sure of the NUL. 0 or below has no room for anything.
 * Returns E_APPS_ERR_SUCCESS, also for an empty stored value, which is an empty text; E_APPS_ERR_FORMAT when
 * the stored value was not encoded this way, on this device, or was altered; E_APPS_ERR_OUTOFBUF when there
 * are more than size bytes; E_APPS_ERR_FAILURE for a null argument; otherwise the request's result. On
 * failure out is unchanged.
 */
apps_err_e_type frwk_zndb_get_key_value_decrypt(const char *key, int32_t type, void *out, int32_t size);

/*
 * Stores bytes encoded, in the plain store.
 *
 * type: FRWK_DATA_TYPE_BASE64, which hides nothing, or FRWK_DATA_TYPE_CIPHER, for secrets; with any other
 * type the call is frwk_zndb_set_key_value.
 * data, length: the bytes and their number. What is stored has at most 1023 characters: 765 bytes as base64,
 * 725 enciphered.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_INTERNAL when the bytes can't be encoded; E_APPS_ERR_OUTOFBUF when
 * the encoded text is too long; otherwise the request's result.
 */
apps_err_e_type frwk_zndb_set_key_value_encrypt(const char *key, int32_t type, const void *data,
                                                uint32_t length);

/*
 * A list of values in one text, while it is being written: "," between the items, and in an item "&amp;" for
 * "&" and "&#39;" for ",". The caller owns it and its storage.
 */
typedef struct frwk_codec_buf_t {
    uint32_t size; /* bytes of data */
    uint32_t len;  /* bytes used so far, the NUL not counted */
    char *data;    /* zeroed by the caller before the first item */
} frwk_codec_buf_t;

/*
 * Appends an item to a list. No request; one list, one thread at a time.
 *
 * buf: a null one, or one with a len above its size, has no room.
 * value: the variable; null is the empty text when type is a text type, and refused otherwise.
 * first: not 0 for the first item of a list, which gets no comma. A null text appends nothing then.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_OUTOFBUF when the list with its NUL needs more than buf->size bytes,
 * and what was appended until then stays; otherwise what frwk_value_to_str returns.
 */
apps_err_e_type frwk_zndb_add_value(frwk_codec_buf_t *buf, int32_t type, const void *value, int32_t first);

/*
 * Takes the first item off a list and reads it into a variable. No request.
 *
 * text: the list; its first item is decoded over itself. At the end of the list an item reads as empty.
 * out, size: as for frwk_str_to_value.
 * next: receives what follows the item, for the next call; set even when the item can't be read, but not
 * when text is null. May be null.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM when text is null; otherwise what frwk_str_to_value returns.
 * On failure the variable is unchanged.
 */
apps_err_e_type frwk_zndb_get_value(char *text, int32_t type, void *out, uint32_t size, char **next);

/* ---- Shared records -------------------------------------------------------------------------------- */
/*
 * Records that several modules share, each kept as one list. Texts are NUL-terminated. When a record can't
 * be filled to its end, the members whose items come before the bad one are filled and the others keep what
 * they hold.
 */

/* The state of a data connection. */
typedef struct frwk_conninfo_t {
    uint8_t connected;     /* 1 when the connection is up, else 0 */
    uint32_t uptime;       /* seconds that it has been up; 0 when not connected */
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
 * Reads the state of a data connection from the setting that holds it; one request.
 *
 * The list has 18 items: "connected" in upper or lower case, or any other word; the uptime of the device when
 * the connection came up, in seconds; then macaddr to ipv6dns2 in the order of the record; iface, ifname,
 * cid, ipv6_prefix, ipv6gw, call_end_type and call_end_code. One with fewer reads as if empty ones followed.
 *
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null argument or an item out of its range;
 * E_APPS_ERR_OUTOFBUF for an item longer than its member; otherwise what frwk_zndb_get_key_value returns, and
 * then info is unchanged.
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
    char readonly[33];    /* read-only mark, as the text it is stored as */
} frwk_profile_t;

/*
 * Reads a connection profile from a list that the caller holds. No request.
 *
 * text: profilename, apn, username, password, the authentication ("none", "pap", "chap" or "pap_chap"), the
 * IP type ("ipv4", "ipv6" or "ipv4v6") and readonly, the words in upper or lower case. It is decoded in
 * place, so its content is lost, and no other thread may use it meanwhile.
 *
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_FAILURE for a null argument, an empty text, or an authentication or
 * IP type word that is unknown; E_APPS_ERR_OUTOFBUF for an item longer than its member.
 */
apps_err_e_type frwk_parse_profile_str(char *text, frwk_profile_t *profile);

/* ---- Device settings ------------------------------------------------------------------------------- */
/*
 * Settings that several modules share. Each call waits for the database as those of zndb.h do, and for the
 * commands that it runs.
 */

/*
 * Brings back a debug mode that was set to last: sets "device_debug_mode" and runs the debug-mode script with
 * "start". For the one module that starts the device up.
 *
 * Returns 1, whatever came of it.
 */
int32_t frwk_debug_mode_init(void);

/*
 * Switches the device's debug mode: sets "device_debug_mode" to "true" or "false", then runs the debug-mode
 * script with "start" or "stop": /m_data/usr/debug_mode.sh, or where that is missing
 * /m_webui/usr/debug_mode.sh.
 *
 * enable: 0 switches it off, anything else on.
 * mode: how long it lasts: "rom" and "perm" over reboots, "perm" in the permanent area, and "ram", "" or null
 * until the next reboot, in upper or lower case; any other word leaves that as it was. Ignored when enable
 * is 0.
 * Returns 1, also when the script fails; 0 when the database refused, and then nothing was done.
 */
int32_t frwk_debug_mode_set(int32_t enable, const char *mode);

/*
 * Changes the language of the web interface, "webs_language", saves it, and publishes
 * E_APPS_MSG_SYS_LANGUAGE_CHANGE, without data, to the modules that subscribed to the event of this name.
 *
 * language: one of those in "webs_language_support", which is a list such as "en#English,zh#Chinese", in
 * upper or lower case; stored as it is given.
 *
 * Returns 1, or 0 when it is null, empty or not in the list, or the database refused.
 */
int32_t frwk_language_change(const char *language);

/*
 * The same for the language of the user agreement, "webs_usragree_language", those in
 * "webs_usragree_lang_support", and
 * E_APPS_MSG_SYS_USRAGREE_LANGUAGE_CHANGE.
 */
int32_t frwk_user_agreement_language_change(const char *language);

/*
 * Writes the trace mask of the modem service from the files in "/m_data/usr/trace", each named after a module
 * that is to be traced; without the file "mal_service" there, or with nothing to trace, removes it. Modules
 * that are not in the start-up list, or are disabled, don't count.
 *
 * Returns 1, or 0 when the mask can't be written; then there is none.
 */
int32_t frwk_set_mals_tracemask(void);

/* ---- Capabilities ---------------------------------------------------------------------------------- */
/* Fixed answers of this product build: 1 or 0. */

/* Whether it is a pv build: it is not. */
int32_t frwk_utils_is_pv_version(void);

/* Whether it has the modem side (MPSS): it has. */
int32_t frwk_utils_is_mpss_support(void);

/* Whether it supports the soft access point: it does. */
int32_t frwk_utils_is_softap_support(void);

/* ---- Operator and product data --------------------------------------------------------------------- */

/*
 * Adapts the device to the operator of the inserted SIM: finds the operator's file and, unless it is applied
 * already, replaces the settings of the last one in the perm store. docs/sim-adaptation.md tells the rules.
 *
 * The setting "mnet_sim_subnet_adapt_status" tells how it stands: 0 under way, 1 adapted and a reboot
 * follows, 2 finished. Nothing else is reported; one thread of the device at a time may call it.
 *
 * type: 0 for a check at run time, which never reboots; anything else for the adaptation at boot, which asks
 * the monitor for a reboot with reason 801 when it changed something.
 * It sleeps on the calling thread: up to 10 seconds for the SIM, at run time up to 19 where failures
 * alternate with a SIM that waits for its PIN; 20 for its PLMN; 2 before a reboot; without limit while the
 * modem side is not up. So it must not be called from a message handler.
 */
void frwk_sim_subnet_handle(int32_t type);

/*
 * Stores the settings of a product data file in the plain store, one request for each line key=value.
 *
 * Nothing is saved before the database saves by itself, at a reboot for example, and what becomes of the
 * requests is not looked at. Comments begin with '#' in the first
 * column. A line is read in pieces of 1056 characters, each a line of its own. A line without '=' is
 * skipped, and so is a full piece, unless it is shorter without the blanks at its ends.
 *
 * path: of the file.
 * Returns 0 when the file was read, or -1 when path is null or the file can't be opened. Where reading fails
 * on the way, which is logged, it is 0 as well, and the lines behind are not stored. It waits as the calls of
 * zndb.h do, once a line.
 */
int32_t frwk_specify_path_db_adapt(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
