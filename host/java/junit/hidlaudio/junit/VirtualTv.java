// SPDX-License-Identifier: Apache-2.0
package hidlaudio.junit;

import hidlaudio.runtime.CallbackErrors;
import hidlaudio.runtime.TvFolder;
import java.lang.reflect.Constructor;
import java.util.ArrayList;
import java.util.List;
import java.util.Optional;
import org.junit.jupiter.api.extension.AfterAllCallback;
import org.junit.jupiter.api.extension.AfterEachCallback;
import org.junit.jupiter.api.extension.BeforeAllCallback;
import org.junit.jupiter.api.extension.BeforeEachCallback;
import org.junit.jupiter.api.extension.ExtensionContext;
import org.junit.jupiter.api.extension.ParameterContext;
import org.junit.jupiter.api.extension.ParameterResolver;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.platform.commons.support.AnnotationSupport;

/**
 * Boots a virtual TV for each test, or for all tests of a class, and passes it to parameters of type
 * {@link Tv}. Services are looked up on it. {@link TvOptions} at the class or method sets its options.
 *
 * <p>{@code @ExtendWith(VirtualTv.class)} creates a TV for each test, and with
 * {@code @TvOptions(perClass = true)} one for the class. A static field
 * {@code @RegisterExtension static final VirtualTv tv = new VirtualTv()} does the latter too.
 *
 * <p>If a test fails, the logs of the TV are attached to its exception. A test also fails if a callback throws,
 * or if a program of the TV ends although the test did not cause that. Tests can run in parallel.
 */
public final class VirtualTv
        implements BeforeAllCallback, AfterAllCallback, BeforeEachCallback, AfterEachCallback, ParameterResolver {
    private static final ExtensionContext.Namespace NAMESPACE = ExtensionContext.Namespace.create(VirtualTv.class);
    private static final String OWN_TV = "tv";
    private static final String LOG_START = "lines of the log before the test";

    static {
        CallbackErrors.setHandler(Tv::recordCallbackError);
    }

    @Override
    public void beforeAll(ExtensionContext context) {
        if (isStaticField(context) || optionsOf(context).perClass()) {
            create(context);
        }
    }

    @Override
    public void afterAll(ExtensionContext context) {
        close(context);
    }

    @Override
    public void beforeEach(ExtensionContext context) {
        Tv shared = find(context);
        Tv tv = shared != null ? shared : create(context);
        TvFolder.use(tv.path());
        context.getStore(NAMESPACE).put(LOG_START, shared != null ? shared.log().size() : 0);
    }

    @Override
    public void afterEach(ExtensionContext context) throws Exception {
        Tv tv = find(context);
        if (tv == null) {
            return; // it could not be created
        }
        try {
            report(context, tv);
        } finally {
            close(context);
        }
    }

    @Override
    public boolean supportsParameter(ParameterContext parameter, ExtensionContext context) {
        boolean ofMethod = !(parameter.getDeclaringExecutable() instanceof Constructor);
        return ofMethod && parameter.getParameter().getType() == Tv.class;
    }

    @Override
    public Object resolveParameter(ParameterContext parameter, ExtensionContext context) {
        Tv tv = find(context);
        return tv != null ? tv : create(context);
    }

    private static void report(ExtensionContext context, Tv tv) throws TvProblems {
        List<String> problems = new ArrayList<>();
        tv.takeUnexpectedEnds().forEach(program -> problems.add(program + " has ended unexpectedly"));
        List<Throwable> thrown = tv.takeCallbackErrors();
        thrown.forEach(error -> problems.add("a callback has thrown " + error));
        Optional<Throwable> failure = context.getExecutionException();
        if (failure.isEmpty() && problems.isEmpty()) {
            return;
        }
        TvProblems report = new TvProblems(problems, logOf(context, tv));
        thrown.forEach(report::addSuppressed);
        if (failure.isEmpty()) {
            throw report;
        }
        failure.get().addSuppressed(report);
    }

    private static String logOf(ExtensionContext context, Tv tv) {
        int start = context.getStore(NAMESPACE).getOrDefault(LOG_START, Integer.class, 0);
        List<String> lines = tv.log();
        return String.join("\n", lines.subList(Math.min(start, lines.size()), lines.size()));
    }

    // The TV of the context, or of the class that contains it.
    private Tv find(ExtensionContext context) {
        return context.getStore(NAMESPACE).get(OWN_TV, Tv.class); // searches the parents too
    }

    private Tv create(ExtensionContext context) {
        Tv tv = new Tv(optionsOf(context));
        context.getStore(NAMESPACE).put(OWN_TV, tv);
        return tv;
    }

    // Closes the TV that was created for this context.
    private static void close(ExtensionContext context) {
        Tv tv = context.getStore(NAMESPACE).remove(OWN_TV, Tv.class);
        if (tv != null) {
            tv.close();
        }
    }

    private boolean isStaticField(ExtensionContext context) {
        return AnnotationSupport.findAnnotatedFieldValues(context.getRequiredTestClass(), RegisterExtension.class)
                .stream().anyMatch(value -> value == this);
    }

    private static TvOptions optionsOf(ExtensionContext context) {
        for (Optional<ExtensionContext> at = Optional.of(context); at.isPresent(); at = at.get().getParent()) {
            Optional<TvOptions> found = AnnotationSupport.findAnnotation(at.get().getElement(), TvOptions.class);
            if (found.isPresent()) {
                return found.get();
            }
        }
        return AnnotatedWithDefaults.class.getAnnotation(TvOptions.class);
    }

    @TvOptions
    private static final class AnnotatedWithDefaults {}
}
