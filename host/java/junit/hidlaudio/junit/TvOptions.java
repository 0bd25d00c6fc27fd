// SPDX-License-Identifier: Apache-2.0
package hidlaudio.junit;

import java.lang.annotation.ElementType;
import java.lang.annotation.Inherited;
import java.lang.annotation.Retention;
import java.lang.annotation.RetentionPolicy;
import java.lang.annotation.Target;

/** Options of the TVs that {@link VirtualTv} creates. Those of a method replace those of its class. */
@Inherited
@Retention(RetentionPolicy.RUNTIME)
@Target({ElementType.TYPE, ElementType.METHOD})
public @interface TvOptions {
    /** Model: "be" has a back-end controller, "standard" has none. */
    String model() default "be";

    /** Whether the TV can be the center speaker of an audio system. */
    boolean centreInput() default false;

    /** Speed of the programs' sleeps and timers. */
    int clock() default 1;

    /** Whether the TV is booted before the test. */
    boolean boot() default true;

    /** Faults from the beginning, as arguments of {@code tv fault}: "setParameters 3" or "DRV_Init 1 2". */
    String[] faults() default {};

    /** System calls of the daemon that fail, such as "write:3:ENOSPC"; see hidlaudio(8). */
    String callFaults() default "";

    /** Whether all tests of the class share one TV. Only for an annotated class. */
    boolean perClass() default false;
}
