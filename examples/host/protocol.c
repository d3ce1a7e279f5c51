/* A control protocol over a local socket, made from the list of settings. One request a line, one line of reply:
 *
 *     get CAMERA               all settings
 *     get CAMERA NAME          ok 5 = 1/200 = 0.005 s
 *     set CAMERA NAME VALUE    ok, ok with what became of the value, or error with the reason
 *     set CAMERA NAME          an action
 *
 * Values are checked here, since the library stores choices as passed. A mutex for each camera orders its settings: the
 * library leaves that to the host where settings share a block of the engine. */
#include "host.h"

#include <isp_settings.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

static pthread_mutex_t locks[CAMERAS] = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_MUTEX_INITIALIZER};
static int measuring[CAMERAS]; /* under the camera's lock: a one-push white balance takes four seconds */
static int listener = -1;
static char socket_path[sizeof((struct sockaddr_un*)0)->sun_path];

/* The modes that the camera is in once the setting has the value. */
static unsigned modes_with(int camera, const struct setting* setting, int value)
{
    static const char* const names[] = {"exposure_mode", "wb_mode", "blackwhite_mode", "expcomp_mode"};
    int modes[4];
    for (int i = 0; i < 4; ++i) {
        const struct setting* mode = setting_named(names[i]);
        modes[i] = mode == setting ? value : store_value(camera, mode);
    }
    return isp_modes(modes[0], modes[1], modes[2], modes[3]);
}

/* Exposure following writes the feature camera's exposure with the engine lock held. */
static int call_setter(int camera, const struct setting* setting, int value)
{
    const int exposes = setting->block == BLOCK_exposure || setting->block == BLOCK_all;
    const int shared = exposes && camera == FEATURE && para_get_isp_exposure_mode_cur(FEATURE) == SMART_EXPOSURE;
    if (shared) {
        pthread_mutex_lock(rkipc_get_ctx_mtx());
    }
    const int result = setting->set(camera, value);
    if (shared) {
        pthread_mutex_unlock(rkipc_get_ctx_mtx());
    }
    return result;
}

/* What a result means to who asked. */
static const char* reply_to(int camera, const struct setting* setting, int value, int result)
{
    const unsigned modes = modes_with(camera, setting, value);
    if (result == ISP_EXCUTE_BYARM) {
        return "ok, stored: this host applies styles itself";
    }
    if (result != ISP_SUCCESS && result != ISP_UNFIT) {
        return store_has(setting) && store_value(camera, setting) == value ? "error: stored, but the engine failed"
                                                                           : "error: refused, or the engine failed";
    }
    if (setting->effective == ISP_IN_NONE) {
        return "ok, without effect";
    }
    return ISP_HOLDS(setting->effective, modes) ? "ok" : "ok, stored: takes effect in another mode";
}

static void* measure(void* argument)
{
    const int camera = (int)(intptr_t)argument;
    const int result = KIV_Set_wb_mode_onepush(camera);
    pthread_mutex_lock(&locks[camera]);
    measuring[camera] = 0;
    pthread_mutex_unlock(&locks[camera]);
    printf("camera %d: white balance %s\n", camera, result == 0 ? "measured" : "not measured");
    return NULL;
}

/* With the camera's lock held. */
static const char* change(int camera, const struct setting* setting, int value)
{
    const unsigned modes = modes_with(camera, setting, value);
    const int kept = ISP_HOLDS(setting->stored, modes);
    pthread_t worker;
    if (measuring[camera]) {
        return "error: busy measuring the white balance";
    }
    if (strcmp(setting->name, "exposure_mode") == 0 && !ISP_HOLDS(setting->accepted, modes)) {
        return "error: the library refuses this mode"; /* and would store it */
    }
    if (!kept && !ISP_HOLDS(setting->effective, modes) && setting->effective != ISP_IN_NONE) {
        return "error: not in the present mode";
    }
    if (strcmp(setting->name, "wb_mode_onepush") != 0) {
        return reply_to(camera, setting, value, call_setter(camera, setting, value));
    }
    if (pthread_create(&worker, NULL, measure, (void*)(intptr_t)camera) != 0) {
        return "error: no thread";
    }
    pthread_detach(worker);
    measuring[camera] = 1;
    return "ok, measuring";
}

static void tell_all(int camera, char* reply, size_t size)
{
    size_t length = (size_t)snprintf(reply, size, "ok");
    for (const struct setting* setting = settings; store_has(setting) && length < size; ++setting) {
        length +=
            (size_t)snprintf(reply + length, size - length, " %s=%d", setting->name, store_value(camera, setting));
    }
}

void protocol_answer(const char* line, char* reply, size_t size)
{
    char verb[8] = "", name[32] = "", text[32] = "", rest[2] = "", range[512] = "";
    int camera = -1, value = 0;
    const int words = sscanf(line, "%7s %d %31s %31s %1s", verb, &camera, name, text, rest);
    const int getting = strcmp(verb, "get") == 0;
    if ((!getting && strcmp(verb, "set") != 0) || words < (getting ? 2 : 3) || words > (getting ? 3 : 4)) {
        snprintf(reply, size, "error: get CAMERA [NAME], or set CAMERA NAME [VALUE]");
        return;
    }
    const struct setting* setting = setting_named(name);
    if (camera < 0 || camera >= CAMERAS) {
        snprintf(reply, size, "error: no camera %d", camera);
    } else if (getting && words == 2) {
        tell_all(camera, reply, size);
    } else if (setting == NULL || (getting ? !store_has(setting) : setting->set == NULL)) {
        snprintf(reply, size, "error: %s cannot be %s", name, getting ? "read" : "set");
    } else if (getting) {
        setting_text(setting, store_value(camera, setting), range, sizeof range);
        snprintf(reply, size, "ok %s", range);
    } else if ((setting->kind == KIND_action) != (words == 3) ||
               (words == 4 && !setting_value(setting, text, &value))) {
        setting_range(setting, range, sizeof range);
        snprintf(reply, size, "error: %s takes %s", name, setting->kind == KIND_action ? "no value" : range);
    } else {
        pthread_mutex_lock(&locks[camera]);
        snprintf(reply, size, "%s", change(camera, setting, value));
        pthread_mutex_unlock(&locks[camera]);
    }
}

/* One thread for each client, so that a slow call keeps its own client waiting alone. */
static void* serve(void* argument)
{
    char line[256], reply[2048];
    FILE* requests = fdopen((int)(intptr_t)argument, "r");
    while (requests != NULL && fgets(line, sizeof line, requests) != NULL && strchr(line, '\n') != NULL) {
        protocol_answer(line, reply, sizeof reply - 1);
        strcat(reply, "\n");
        if (send(fileno(requests), reply, strlen(reply), MSG_NOSIGNAL) < 0) {
            break;
        }
    }
    if (requests != NULL) {
        fclose(requests);
    }
    return NULL;
}

static void* listen_for_clients(void* argument)
{
    pthread_t client;
    (void)argument;
    for (int connection; (connection = accept(listener, NULL, NULL)) >= 0;) {
        if (pthread_create(&client, NULL, serve, (void*)(intptr_t)connection) == 0) {
            pthread_detach(client);
        } else {
            close(connection);
        }
    }
    return NULL;
}

int protocol_start(const char* path)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    pthread_t thread;
    if (strlen(path) >= sizeof address.sun_path) {
        fprintf(stderr, "%s: too long for a socket\n", path);
        return -1;
    }
    strcpy(address.sun_path, path);
    strcpy(socket_path, path);
    unlink(path);
    listener = socket(AF_UNIX, SOCK_STREAM, 0);
    if (listener < 0 || bind(listener, (struct sockaddr*)&address, sizeof address) != 0 || chmod(path, 0600) != 0 ||
        listen(listener, 8) != 0 || pthread_create(&thread, NULL, listen_for_clients, NULL) != 0) {
        perror(path);
        return -1;
    }
    return pthread_detach(thread);
}

/* Waits for the calls under way; no other begins. */
void protocol_end(void)
{
    for (int camera = 0; camera < CAMERAS; ++camera) {
        pthread_mutex_lock(&locks[camera]); /* for good */
        while (measuring[camera]) {
            pthread_mutex_unlock(&locks[camera]);
            sleep(1);
            pthread_mutex_lock(&locks[camera]);
        }
    }
    if (listener >= 0) {
        unlink(socket_path);
    }
}
