/* Motor-controller library (libmcu). Motor 0..3 is camera 1..4 (A..D);
 * amounts are motor steps; status results are bytes written through pointers. */
#ifndef PLATFORM_MCU_H
#define PLATFORM_MCU_H

#ifdef __cplusplus
extern "C" {
#endif

int getVersion(int *version);
int setOeEnable(int enable);

int setFocusInfo(int motor, int speed, int limit);
int setZoomInfo(int motor, int speed, int limit);
int setPanInfo(int motor, int speed, int limit);
int setTiltInfo(int motor, int speed, int limit);

int setFocusForward(int motor, int steps);
int setFocusBackward(int motor, int steps);
int setZoomForward(int motor, int steps);
int setZoomBackward(int motor, int steps);
int setPanForward(int motor, int steps);
int setPanBackward(int motor, int steps);
int setTiltForward(int motor, int steps);
int setTiltBackward(int motor, int steps);

/* *busy is 1 while the motor moves. */
int getFocusBusyStatus(int motor, unsigned char *busy);
int getZoomBusyStatus(int motor, unsigned char *busy);
int getPanBusyStatus(int motor, unsigned char *busy);
int getTiltBusyStatus(int motor, unsigned char *busy);

/* One byte per pan carrier; 0 means the carrier is blocked by its neighbour. */
int getCollideABCD(unsigned char *a, unsigned char *b, unsigned char *c, unsigned char *d);
/* Bit 0 set: the home switch is made. */
int getHomeFlag(unsigned char *flag);

#ifdef __cplusplus
}
#endif

#endif
