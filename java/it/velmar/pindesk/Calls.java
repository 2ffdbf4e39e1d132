// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.lang.ref.Cleaner;
import java.nio.file.Path;
import java.util.HashSet;
import java.util.Set;
import java.util.concurrent.CompletionException;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Future;
import java.util.concurrent.SynchronousQueue;
import java.util.concurrent.ThreadPoolExecutor;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.concurrent.locks.Condition;
import java.util.concurrent.locks.Lock;
import java.util.concurrent.locks.ReentrantLock;
import java.util.function.Supplier;

/**
 * The calls of one desk. Each has a native desk of its own, with the keys of the first, so that it
 * can be cancelled alone; and a thread of its own, so that a virtual thread that waits for it does
 * not hold its carrier, and an interrupt is seen at once.
 */
final class Calls implements AutoCloseable {
    private static final Cleaner CLEANER = Cleaner.create();
    private static final ExecutorService THREADS = new ThreadPoolExecutor(
        0, Integer.MAX_VALUE, 10, TimeUnit.SECONDS, new SynchronousQueue<>(), task -> {
            Thread thread = new Thread(task, "pindesk call");
            thread.setDaemon(true);
            return thread;
        });
    private static final long CANCEL_AGAIN_MILLISECONDS = 20;
    private static final ThreadLocal<Calls> SERVED = new ThreadLocal<>(); // by a thread of ours

    private final long keys; // the native desk that holds them
    private final Cleaner.Cleanable closeKeys;
    private final Lock lock =
        new ReentrantLock(); // which a virtual thread awaits without a carrier
    private final Condition ended = lock.newCondition();
    private final Set<Long> running = new HashSet<>();
    private boolean closed;

    Calls() {
        long desk = open(0);
        keys = desk;
        closeKeys = CLEANER.register(this, () -> Native.close(desk));
    }

    @Override
    public void close() {
        if (SERVED.get() == this) {
            throw new IllegalStateException("a desk is not closed from inside one of its calls");
        }
        boolean interrupted = Thread.interrupted();
        lock.lock();
        try {
            closed = true;
            while (!running.isEmpty()) {
                running.forEach(Native::cancel);
                interrupted |= interruptedWhileOneMayEnd();
            }
            closeKeys.clean();
        } finally {
            lock.unlock();
            restore(interrupted);
        }
    }

    private boolean interruptedWhileOneMayEnd() {
        try {
            ended.await(CANCEL_AGAIN_MILLISECONDS, TimeUnit.MILLISECONDS);
            return false;
        } catch (InterruptedException e) {
            return true;
        }
    }

    void cancel() {
        lock.lock();
        try {
            running.forEach(Native::cancel);
        } finally {
            lock.unlock();
        }
    }

    void setKey(int which, byte[] key) { whileOpen(() -> Native.setKey(keys, which, key)); }

    Report loadKey(int which, Path file) {
        byte[] path = Native.utf8(file.toString());
        return new Report(whileOpen(() -> Native.loadKey(keys, which, path)));
    }

    Report run(Call call) {
        long desk = whileOpen(() -> {
            long opened = open(keys);
            running.add(opened);
            return opened;
        });
        try {
            return await(THREADS.submit(() -> serve(call, desk)), desk);
        } finally {
            end(desk);
        }
    }

    private Report serve(Call call, long desk) {
        SERVED.set(this);
        try {
            return call.runOn(desk);
        } finally {
            SERVED.remove();
        }
    }

    private void end(long desk) {
        lock.lock();
        try {
            running.remove(desk);
            ended.signalAll();
        } finally {
            lock.unlock();
        }
        Native.close(desk);
    }

    private <T> T whileOpen(Supplier<T> body) {
        lock.lock();
        try {
            if (closed) {
                throw new IllegalStateException("the desk is closed");
            }
            return body.get();
        } finally {
            lock.unlock();
        }
    }

    private static Report await(Future<Report> call, long desk) {
        boolean interrupted = false;
        try {
            while (true) {
                try {
                    return interrupted ? call.get(CANCEL_AGAIN_MILLISECONDS, TimeUnit.MILLISECONDS)
                                       : call.get();
                } catch (InterruptedException e) {
                    interrupted = true;
                    Native.cancel(desk);
                } catch (TimeoutException e) {
                    Native.cancel(desk); // the first one may have come before the call began
                } catch (ExecutionException e) {
                    throw unchecked(e.getCause());
                }
            }
        } finally {
            restore(interrupted);
        }
    }

    /** What a caller's visitor or listener threw; from some languages also what is checked. */
    private static RuntimeException unchecked(Throwable thrown) {
        if (thrown instanceof Error) {
            throw(Error) thrown;
        }
        return thrown instanceof RuntimeException ? (RuntimeException)thrown
                                                  : new CompletionException(thrown);
    }

    private static void restore(boolean interrupted) {
        if (interrupted) {
            Thread.currentThread().interrupt();
        }
    }

    private static long open(long like) {
        long desk = Native.open(like);
        if (desk == 0) {
            throw new OutOfMemoryError("no memory for a desk");
        }
        return desk;
    }
}
