/* The lens: on a camera, the place of the motors' driver. Here it says what the motors would do. */
#include "host.h"

#include <af/lens_ctrl.h>
#include <stdio.h>

enum { CALIBRATION_ENDS_THREADS = 4 };

static int calibration_flag;
static unsigned char automatic = 1;

uint16_t Uvc_Query_Zoom_Position(void)
{
    return 0; /* the widest angle */
}

int get_lens_calibration_flag(void)
{
    return __atomic_load_n(&calibration_flag, __ATOMIC_RELAXED);
}

void iris_mode(unsigned char mode)
{
    __atomic_store_n(&automatic, mode, __ATOMIC_RELAXED);
}

void iris_to(unsigned short position)
{
    printf("lens: iris to position %d\n", position);
}

/* What the iris loop decides, on its thread. */
int lens_move_iris(iris_ctrl_param_t* command)
{
    if (__atomic_load_n(&automatic, __ATOMIC_RELAXED) == 0) {
        return 0;
    }
    if (command->toDst) {
        return printf("lens: iris to step %d\n", command->dstIris);
    }
    return printf("lens: iris by %d steps\n", command->steps);
}

/* The library's iris loop and exposure following end within a cycle. */
void lens_end_automatic(void)
{
    __atomic_store_n(&calibration_flag, CALIBRATION_ENDS_THREADS, __ATOMIC_RELAXED);
}
