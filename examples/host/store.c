/* The parameter store: the settings of eight cameras, from the library's list, and the file that keeps them. */
#include "host.h"

#include <errno.h>
#include <isp_settings.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

enum { RECORDS = 8, VERSION = 1, FIELDS = sizeof(kiv_isp_param_s) / sizeof(int) };

#define INITIAL(name, type, kind, access, form, setter, lowest, highest, initial, ...) .name = (initial),
static const kiv_isp_param_s initial_record = {ISP_SETTINGS(INITIAL)};
static kiv_isp_param_s neutral_style = {ISP_SETTINGS(INITIAL)};

static kiv_isp_param_s records[RECORDS];
static int changed; /* since the file was written */
static int ending;

/* Called from any thread that changes a setting and from the library's own: each value is read and written whole,
 * without a lock and without waiting for a disk. */
static int get(const int* value)
{
    return __atomic_load_n(value, __ATOMIC_RELAXED);
}

static int get_current(int id, const int* value)
{
    if (value == &records[id].exposure_mode && get(&ending)) {
        return AUTO_EXPOSURE; /* see store_end_manual() */
    }
    return get(value);
}

static int set(int* value, int level)
{
    __atomic_store_n(value, level, __ATOMIC_RELAXED);
    __atomic_store_n(&changed, 1, __ATOMIC_RELEASE);
    return 0;
}

/* The accessors that the library needs of each setting. */
#define GET_CUR(name)                                                                                                  \
    int para_get_isp_##name##_cur(int id)                                                                              \
    {                                                                                                                  \
        return get_current(id, &records[id].name);                                                                     \
    }
#define GET_MAX(name, highest)                                                                                         \
    int para_get_isp_##name##_max(int id)                                                                              \
    {                                                                                                                  \
        (void)id;                                                                                                      \
        return (highest);                                                                                              \
    }
#define SET_CUR(name)                                                                                                  \
    int para_set_isp_##name##_cur(int id, int value)                                                                   \
    {                                                                                                                  \
        return set(&records[id].name, value);                                                                          \
    }
#define ACCESS_none(name, highest)
#define ACCESS_set(name, highest) SET_CUR(name)
#define ACCESS_cur(name, highest) GET_CUR(name) SET_CUR(name)
#define ACCESS_bound(name, highest) GET_MAX(name, highest) SET_CUR(name)
#define ACCESS_all(name, highest) GET_CUR(name) GET_MAX(name, highest) SET_CUR(name)
#define DEFINE(name, type, kind, access, form, setter, lowest, highest, ...) ACCESS_##access(name, highest)
ISP_SETTINGS(DEFINE)

/* Image styles are whole records. This host has one: everything as at the first start. */
kiv_isp_param_s* para_get_isp_style_param(int id, int style)
{
    (void)id;
    return style == style_default ? &neutral_style : NULL;
}

int para_isp_style_excute_by_arm(void)
{
    return 0; /* the library applies styles */
}

int store_has(const struct setting* setting)
{
    return setting - settings < FIELDS;
}

int store_value(int camera, const struct setting* setting)
{
    return get(&records[camera].struct_ver + (setting - settings));
}

/* The iris loop rests in the modes in which the iris is set by hand and does not look at the calibration flag that ends
 * it. When the host ends, the library is told another mode; the record keeps the user's. */
void store_end_manual(void)
{
    __atomic_store_n(&ending, 1, __ATOMIC_RELAXED);
}

/* Values that are none of the setting's become initial ones: the library does not check what it restores. */
static void check(const char* path, int camera)
{
    for (int field = 0; field < FIELDS; ++field) {
        int* value = &records[camera].struct_ver + field;
        if (!setting_allows(&settings[field], *value)) {
            fprintf(stderr, "%s: camera %d has %s %d, which is not allowed\n", path, camera, settings[field].name,
                    *value);
            *value = (&initial_record.struct_ver)[field];
        }
    }
}

int store_load(const char* path)
{
    char aside[4096];
    kiv_isp_param_s read[RECORDS + 1]; /* one more, to notice a file that is too long */
    for (int camera = 0; camera < RECORDS; ++camera) {
        records[camera] = initial_record;
    }
    FILE* file = fopen(path, "rb");
    if (file == NULL && errno == ENOENT) {
        return 0; /* the first start */
    }
    if (file == NULL) {
        perror(path);
        return -1;
    }
    const size_t size = fread(read, 1, sizeof read, file);
    fclose(file);
    if (size == sizeof records && read[0].struct_ver == VERSION) {
        memcpy(records, read, sizeof records);
        for (int camera = 0; camera < RECORDS; ++camera) {
            check(path, camera);
        }
        return 1;
    }
    snprintf(aside, sizeof aside, "%s.damaged", path);
    fprintf(stderr, "%s holds no settings: kept as %s, starting with initial values\n", path, aside);
    return rename(path, aside) == 0 ? 0 : -1;
}

/* A new file takes the old one's place at once, so that a power failure leaves one of the two. */
int store_save(const char* path)
{
    char new_path[4096];
    int values[RECORDS * FIELDS];
    if (!__atomic_exchange_n(&changed, 0, __ATOMIC_ACQUIRE)) {
        return 0;
    }
    for (int i = 0; i < RECORDS * FIELDS; ++i) {
        values[i] = get(&records[0].struct_ver + i);
    }
    snprintf(new_path, sizeof new_path, "%s.new", path);
    FILE* file = fopen(new_path, "wb");
    int done =
        file != NULL && fwrite(values, sizeof values, 1, file) == 1 && fflush(file) == 0 && fsync(fileno(file)) == 0;
    if (file != NULL) {
        done = fclose(file) == 0 && done;
    }
    if (!done || rename(new_path, path) != 0) {
        perror(path);
        __atomic_store_n(&changed, 1, __ATOMIC_RELAXED); /* tried again with the next second */
        return -1;
    }
    return 0;
}
