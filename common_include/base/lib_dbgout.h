/** @file
 * Logging of the host application. */
#ifndef BASE_LIB_DBGOUT_H
#define BASE_LIB_DBGOUT_H

#ifdef __cplusplus
extern "C" {
#endif

/** Levels of the host's logging, one per component. The library reads module_level alone. */
typedef struct lib_dbgout_profile_s {
    int lib_level;
    int para_level;
    int cc_level;
    int visca_level;
    int net_protocol_level;
    int module_level; /**< above 5: this library's trace lines are written */
    int mpp_level;
    int others;
    int time_enable;
    void (*log_cb)(int level, const char* text);
} lib_dbgout_profile_s;

/** The levels in force. The host may change module_level at any time, with an atomic store: the library reads it so.
 * When: every step. Threads: all. */
extern lib_dbgout_profile_s dbgout_profile;

/**@{*/
/** printf-style; must be callable from any thread, also while the library holds its engine lock, which they must not
 * take. Messages bring their own line ends, many of them two.
 * When: kiv_traceout at every step while module_level is above 5, kiv_log_debug while a camera or a group starts.
 * Threads: all. */
int kiv_traceout(int level, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;
int kiv_log_debug(const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
