// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** Reads JSON as Map, List, String, Boolean, Double and null. */
final class Json {
    private final String text;
    private int at;

    private Json(String text) {
        this.text = text;
    }

    static Object parse(String text) {
        return new Json(text).value();
    }

    private Object value() {
        char next = peek();
        if (next == '{') {
            Map<String, Object> map = new LinkedHashMap<>();
            for (String key = open(); key != null; key = more(key)) {
                String name = (String) value();
                expect(':');
                map.put(name, value());
            }
            return map;
        }
        if (next == '[') {
            List<Object> list = new ArrayList<>();
            for (String key = open(); key != null; key = more(key)) {
                list.add(value());
            }
            return list;
        }
        return next == '"' ? string() : word();
    }

    // Skips the bracket. Returns null if the list is empty.
    private String open() {
        at++;
        if ("]}".indexOf(peek()) < 0) {
            return "";
        }
        at++;
        return null;
    }

    // Skips a comma or the bracket at the end. Returns null at the end.
    private String more(String key) {
        peek();
        return text.charAt(at++) == ',' ? key : null;
    }

    private String string() {
        StringBuilder found = new StringBuilder();
        for (at++; text.charAt(at) != '"'; at++) {
            char next = text.charAt(at);
            if (next == '\\') {
                at++;
                next = text.charAt(at);
                if (next == 'u') {
                    next = (char) Integer.parseInt(text.substring(at + 1, at + 5), 16);
                    at += 4;
                }
            }
            found.append(next);
        }
        at++;
        return found.toString();
    }

    private Object word() {
        int start = at;
        while (at < text.length() && ",]} ".indexOf(text.charAt(at)) < 0) {
            at++;
        }
        String word = text.substring(start, at);
        return switch (word) {
            case "null" -> null;
            case "true" -> true;
            case "false" -> false;
            default -> Double.valueOf(word);
        };
    }

    private char peek() {
        while (text.charAt(at) == ' ') {
            at++;
        }
        return text.charAt(at);
    }

    private void expect(char wanted) {
        if (peek() != wanted) {
            throw new IllegalArgumentException(text.substring(at));
        }
        at++;
    }
}
