package android.hardware.audio.core;

/** An input stream opened by IModule.openInputStream. On the host a binder handle: it declares no methods. */
@VintfStability
interface IStreamIn {}
