/* The table of settings, from the library's list: setters of one form, ranges, names, units, modes. */
#include "host.h"

#include <isp_settings.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* A setter and a formula for each setting. */
#define SETTER_none(name, type, setter)
#define SETTER_level(name, type, setter)                                                                               \
    static int set_##name(int camera, int value)                                                                       \
    {                                                                                                                  \
        return setter(camera, (type)value);                                                                            \
    }
#define SETTER_silent(name, type, setter)                                                                              \
    static int set_##name(int camera, int value)                                                                       \
    {                                                                                                                  \
        setter(camera, (type)value);                                                                                   \
        return 0;                                                                                                      \
    }
#define SETTER_action(name, type, setter)                                                                              \
    static int set_##name(int camera, int value)                                                                       \
    {                                                                                                                  \
        (void)value;                                                                                                   \
        return setter(camera);                                                                                         \
    }
#define DEFINE(name, type, kind, access, form, setter, lowest, highest, initial, group, unit, number, ...)             \
    SETTER_##form(name, type, setter) static double number_##name(int level, double named)                             \
    {                                                                                                                  \
        (void)level;                                                                                                   \
        (void)named;                                                                                                   \
        return number;                                                                                                 \
    }
ISP_SETTINGS(DEFINE)
ISP_COMMANDS(DEFINE)

#define SET_none(name) NULL
#define SET_level(name) set_##name
#define SET_silent(name) set_##name
#define SET_action(name) set_##name
#define ROW(name, type, kind, access, form, setter, lowest, highest, initial, group, unit, number, block, effective,   \
            accepted, stored, effect)                                                                                  \
    {#name,  KIND_##kind, BLOCK_##block, SET_##form(name), number_##name, unit,                                        \
     lowest, highest,     effective,     accepted,         stored},
const struct setting settings[] = {ISP_SETTINGS(ROW) ISP_COMMANDS(ROW)};

#define VALUE(setting, name, value, number) {#setting, name, value, number},
static const struct {
    const char* setting;
    const char* name;
    int value;
    double number;
} values[] = {ISP_VALUES(VALUE)};

enum { ROWS = sizeof settings / sizeof settings[0], VALUES = sizeof values / sizeof values[0] };

const struct setting* setting_named(const char* name)
{
    for (int i = 0; i < ROWS; ++i) {
        if (strcmp(settings[i].name, name) == 0) {
            return &settings[i];
        }
    }
    return NULL;
}

/* The index of a setting's value by name, or by number where there is no name; -1 for none. */
static int find_value(const struct setting* setting, const char* name, int value)
{
    for (int i = 0; i < VALUES; ++i) {
        if (strcmp(values[i].setting, setting->name) == 0 &&
            (name != NULL ? strcmp(values[i].name, name) == 0 : values[i].value == value)) {
            return i;
        }
    }
    return -1;
}

int setting_allows(const struct setting* setting, int value)
{
    return setting->kind == KIND_choice ? find_value(setting, NULL, value) >= 0
                                        : setting->lowest <= value && value <= setting->highest;
}

int setting_value(const struct setting* setting, const char* text, int* value)
{
    const int named = find_value(setting, text, 0);
    char* end = NULL;
    const long number = strtol(text, &end, 10);
    if (named >= 0) {
        *value = values[named].value;
        return 1;
    }
    if (*text == '\0' || *end != '\0' || number < setting->lowest || number > setting->highest) {
        return 0;
    }
    *value = (int)number;
    return setting_allows(setting, *value);
}

/* "0 to 14 or no_colour", "on or off" */
void setting_range(const struct setting* setting, char* text, size_t size)
{
    size_t length = 0;
    text[0] = '\0';
    if (setting->kind != KIND_choice) {
        length = (size_t)snprintf(text, size, "%d to %d", setting->lowest, setting->highest);
    }
    for (int i = 0; i < VALUES && length < size; ++i) {
        if (strcmp(values[i].setting, setting->name) == 0) {
            length += (size_t)snprintf(text + length, size - length, "%s%s", length > 0 ? " or " : "", values[i].name);
        }
    }
}

/* "5 = 1/200 = 0.005 s" */
void setting_text(const struct setting* setting, int value, char* text, size_t size)
{
    const int named = find_value(setting, NULL, value);
    int length = snprintf(text, size, "%d", value);
    if (named >= 0) {
        length += snprintf(text + length, size - (size_t)length, " = %s", values[named].name);
    }
    if (setting->unit[0] != '\0') {
        const double number = setting->number(value, named >= 0 ? values[named].number : value);
        snprintf(text + length, size - (size_t)length, " = %.4g %s", number, setting->unit);
    }
}
