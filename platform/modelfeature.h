/* Model feature library (libmodelfeature). */
#ifndef PLATFORM_MODELFEATURE_H
#define PLATFORM_MODELFEATURE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Model identification text, owned by the library. */
const char *get_modelfeature(void);
int get_lenstype(const char *model);
int get_slaveCameras(void);
int get_encoderNum(void);
int get_profileResolution(void);

#ifdef __cplusplus
}
#endif

#endif
