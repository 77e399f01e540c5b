package android.hardware.audio.core;

/** The client callback of a non-blocking output stream. On the host a binder handle: it declares no methods. */
@VintfStability
interface IStreamCallback {}
