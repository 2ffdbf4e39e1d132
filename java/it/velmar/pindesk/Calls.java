// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.lang.ref.Cleaner;
import java.nio.file.Path;
import java.util.HashSet;
import java.util.Set;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Future;
import java.util.concurrent.SynchronousQueue;
import java.util.concurrent.ThreadPoolExecutor;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;

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

    private final long keys; // the native desk that holds them
    private final Cleaner.Cleanable closeKeys;
    private final Set<Long> running = new HashSet<>();
    private boolean closed;

    Calls() {
        long desk = open(0);
        keys = desk;
        closeKeys = CLEANER.register(this, () -> Native.close(desk));
    }

    @Override
    public synchronized void close() {
        closed = true;
        boolean interrupted = false;
        while (!running.isEmpty()) {
            running.forEach(Native::cancel);
            try {
                wait(CANCEL_AGAIN_MILLISECONDS);
            } catch (InterruptedException e) {
                interrupted = true;
            }
        }
        closeKeys.clean();
        restore(interrupted);
    }

    synchronized void setKey(int which, byte[] key) {
        checkOpen();
        Native.setKey(keys, which, key);
    }

    synchronized Report loadKey(int which, Path file) {
        checkOpen();
        return new Report(Native.loadKey(keys, which, Native.utf8(file.toString())));
    }

    Report run(Call call) {
        long desk = begin();
        try {
            return await(THREADS.submit(() -> call.runOn(desk)), desk);
        } finally {
            end(desk);
        }
    }

    private synchronized long begin() {
        checkOpen();
        long desk = open(keys);
        running.add(desk);
        return desk;
    }

    private synchronized void end(long desk) {
        running.remove(desk);
        Native.close(desk);
        notifyAll();
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

    /** A call throws what a caller's visitor or listener threw, and nothing that is checked. */
    private static RuntimeException unchecked(Throwable thrown) {
        if (thrown instanceof Error) {
            throw(Error) thrown;
        }
        return (RuntimeException)thrown;
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

    private void checkOpen() {
        if (closed) {
            throw new IllegalStateException("the desk is closed");
        }
    }
}
