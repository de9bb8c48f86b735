#include <metal_stdlib>
using namespace metal;

struct U {
    float2 R;
    float T;
    float A;
    float licht;
    float lijn;
    float vul1;
    float vul2;
    float4 C[4];
};

struct VUit {
    float4 pos [[position]];
};

vertex VUit golfHoekpunt(uint id [[vertex_id]]) {
    float2 p = float2(float((id << 1) & 2), float(id & 2));
    VUit o;
    o.pos = float4(p * 2.0 - 1.0, 0.0, 1.0);
    return o;
}

float lob(float2 uv, float f, float s, float ph, float amp, float T) {
    float env = pow(max(0.0, 1.0 - abs(uv.x)), 1.6);
    float h = amp * env * (0.55 + 0.45 * sin(uv.x * f + T * s + ph));
    float c = amp * 0.25 * env * sin(uv.x * f * 0.7 - T * s * 0.8 + ph * 2.0);
    float d = abs(uv.y - c);
    float kern = smoothstep(h, h * 0.25, d) * step(0.0005, h);
    float gloed = exp(-d * d / (0.0025 + h * h * 0.9)) * env;
    return kern * 0.85 + gloed * 0.55;
}

float4 golfKleur(float4 pos, constant U& u) {
    float2 uv;
    uv.x = (pos.x / u.R.x - 0.5) * 2.0;
    uv.y = (pos.y / u.R.y - 0.5) * 2.0 * (u.R.y / u.R.x) * 1.6;
    float amp = 0.04 + u.A * 0.42;
    float3 kleur = float3(0.0);
    float som = 0.0;
    for (int i = 0; i < 4; i++) {
        float fi = float(i);
        float2 off = float2(0.0, (fi - 1.5) * 0.006);
        float l = lob(uv + off, 3.2 + 0.9 * fi, 1.4 + 0.45 * fi, 1.9 * fi,
                      amp * (0.75 + 0.25 * sin(u.T * 0.9 + fi)), u.T);
        kleur += u.C[i].rgb * l;
        som += l;
    }
    float w = pow(max(0.0, 1.0 - abs(uv.x)), 3.0) *
              exp(-uv.y * uv.y / (0.0008 + amp * amp * 0.08)) * (0.35 + u.A * 0.9);
    if (u.licht < 0.5) {
        // Donker: optellend licht met een witte, hete kern en zachte bloei.
        kleur += w;
        kleur = 1.0 - exp(-kleur * 1.25);
        float a = clamp(max(kleur.r, max(kleur.g, kleur.b)), 0.0, 1.0);
        return float4(kleur, a);
    }
    // Licht: gewone alfa-menging, een gekleurde kern in plaats van wit en een lichtere bloei.
    float3 tint = som > 0.0001 ? kleur / som : u.C[0].rgb;
    float3 kern = mix(tint, (u.C[2].rgb + u.C[3].rgb) * 0.5, clamp(w, 0.0, 1.0) * 0.7);
    float a = clamp(1.0 - exp(-(som * 0.9 + w * 0.5)), 0.0, 1.0);
    return float4(kern * a, a);
}

fragment float4 golfFragment(VUit in [[stage_in]], constant U& u [[buffer(0)]]) {
    if (u.lijn > 0.001) {
        return golfKleur(in.pos, u) * u.lijn;
    }
    return float4(0.0);
}
