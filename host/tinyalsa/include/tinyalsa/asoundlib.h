/* The tinyalsa umbrella header. This host build of tinyalsa offers the mixer calls only. */
#ifndef TINYALSA_ASOUNDLIB_H
#define TINYALSA_ASOUNDLIB_H

#include <tinyalsa/mixer.h>

#endif /* TINYALSA_ASOUNDLIB_H */
