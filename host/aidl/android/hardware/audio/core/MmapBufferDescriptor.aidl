package android.hardware.audio.core;

import android.hardware.common.Ashmem;

/** The shared memory buffer of an MMAP (no-IRQ) stream. */
@VintfStability
parcelable MmapBufferDescriptor {
    const int FLAG_INDEX_APPLICATION_SHAREABLE = 0;

    Ashmem sharedMemory;
    long burstSizeFrames;
    /** Bitmask indexed by FLAG_INDEX_* (bit = 1 << index). */
    int flags;
}
