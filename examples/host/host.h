/* What the host's files need of each other. */
#ifndef HOST_H
#define HOST_H

#include <isp_auto_iris.h>

/* store.c */
int store_load(const char* path); /* 1: loaded; 0: initial values; -1: the file cannot be read */
int store_save(const char* path); /* 0: the file holds every change; -1: it does not */

/* lens.c */
int lens_move_iris(iris_ctrl_param_t* command);
void lens_end_automatic(void);

/* workstation.c */
void workstation_start(void);
int workstation_faults(void);

#endif
