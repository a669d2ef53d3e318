/* Video library (libavc). */
#ifndef PLATFORM_AVC_H
#define PLATFORM_AVC_H

#ifdef __cplusplus
extern "C" {
#endif

/* Current size of stream `stream` (0-based) of sensor `channel` (0-based). 0 on success. */
int getStreamCurResolution(int channel, int stream, int *width, int *height);

/* Largest resolution the stream named by `node` (a stream-3 resolution node
 * name) may take, as "WxH" text into out (at most 16 bytes with the zero). 0 on success. */
int getImgMaxResolution(const char *node, char *out);

/* Sharpness statistic of sensor `channel` (0-based) for contrast autofocus:
 * the high-frequency energy of the focus window of the latest frame, larger
 * when the image is sharper. 0 on success. */
int getFocusValue(int channel, unsigned int *value);

#ifdef __cplusplus
}
#endif

#endif
