/* What the host's files need of each other. */
#ifndef HOST_H
#define HOST_H

#include <isp_auto_iris.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { FEATURE = 0, PANORAMA = 1, CAMERAS = 2 };

/* settings.c: the library's list as a table, the fields of kiv_isp_param_s in their order, then the commands */
enum kind { KIND_level, KIND_choice, KIND_action };
enum block { BLOCK_own, BLOCK_all, BLOCK_colour, BLOCK_exposure, BLOCK_balance, BLOCK_shading };
struct setting {
    const char* name;
    enum kind kind;
    enum block block;
    int (*set)(int camera, int value); /* null where there is no setter */
    double (*number)(int level, double named);
    const char* unit;
    int lowest, highest;
    unsigned effective, accepted, stored; /* modes */
};
extern const struct setting settings[];
const struct setting* setting_named(const char* name);
int setting_allows(const struct setting* setting, int value);
int setting_value(const struct setting* setting, const char* text, int* value); /* 1: the text means this value */
void setting_range(const struct setting* setting, char* text, size_t size);
void setting_text(const struct setting* setting, int value, char* text, size_t size);

/* store.c */
int store_load(const char* path); /* 1: loaded; 0: initial values; -1: the file cannot be read */
int store_save(const char* path); /* 0: the file holds every change; -1: it does not */
int store_value(int camera, const struct setting* setting); /* of a field of the record */
int store_has(const struct setting* setting);               /* whether it is one */
void store_end_manual(void);

/* protocol.c */
int protocol_start(const char* path);
void protocol_answer(const char* line, char* reply, size_t size);
void protocol_end(void);

/* cameras.c */
int cameras_start(int first_time);
void cameras_each_second(void);
void cameras_shut_down(void);

/* lens.c */
int lens_move_iris(iris_ctrl_param_t* command);
void lens_end_automatic(void);

/* workstation.c */
void workstation_start(void);
int workstation_faults(void);

#ifdef __cplusplus
}
#endif

#endif
