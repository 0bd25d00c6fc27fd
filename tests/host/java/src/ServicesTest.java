// SPDX-License-Identifier: Apache-2.0
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovi.dtv.hardware.audio.V3_1.IOutputExternal;
import hidlaudio.junit.Tv;
import hidlaudio.junit.VirtualTv;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.ExtendWith;

@ExtendWith(VirtualTv.class)
class ServicesTest {
    @Test
    void settingSurvivesRestart(Tv tv) throws Exception {
        assertEquals(0, IOutputExternal.getService().setForceEncodingEnabled(false));
        tv.reboot();
        assertEquals(false, IOutputExternal.getService().getForceEncodingEnabled());
    }
}
