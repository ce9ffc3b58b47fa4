#include "foundation/LWHTMLEntities.h"

// The 252 character entity references of HTML 4.01 and "&apos;", ordered by
// code point. Names are case-sensitive.
const std::array<LWHTMLEntity, 253> lw::htmlEntityTable = {{
    {u"&quot;", 34},      {u"&amp;", 38},      {u"&apos;", 39},      {u"&lt;", 60},
    {u"&gt;", 62},        {u"&nbsp;", 160},    {u"&iexcl;", 161},    {u"&cent;", 162},
    {u"&pound;", 163},    {u"&curren;", 164},  {u"&yen;", 165},      {u"&brvbar;", 166},
    {u"&sect;", 167},     {u"&uml;", 168},     {u"&copy;", 169},     {u"&ordf;", 170},
    {u"&laquo;", 171},    {u"&not;", 172},     {u"&shy;", 173},      {u"&reg;", 174},
    {u"&macr;", 175},     {u"&deg;", 176},     {u"&plusmn;", 177},   {u"&sup2;", 178},
    {u"&sup3;", 179},     {u"&acute;", 180},   {u"&micro;", 181},    {u"&para;", 182},
    {u"&middot;", 183},   {u"&cedil;", 184},   {u"&sup1;", 185},     {u"&ordm;", 186},
    {u"&raquo;", 187},    {u"&frac14;", 188},  {u"&frac12;", 189},   {u"&frac34;", 190},
    {u"&iquest;", 191},   {u"&Agrave;", 192},  {u"&Aacute;", 193},   {u"&Acirc;", 194},
    {u"&Atilde;", 195},   {u"&Auml;", 196},    {u"&Aring;", 197},    {u"&AElig;", 198},
    {u"&Ccedil;", 199},   {u"&Egrave;", 200},  {u"&Eacute;", 201},   {u"&Ecirc;", 202},
    {u"&Euml;", 203},     {u"&Igrave;", 204},  {u"&Iacute;", 205},   {u"&Icirc;", 206},
    {u"&Iuml;", 207},     {u"&ETH;", 208},     {u"&Ntilde;", 209},   {u"&Ograve;", 210},
    {u"&Oacute;", 211},   {u"&Ocirc;", 212},   {u"&Otilde;", 213},   {u"&Ouml;", 214},
    {u"&times;", 215},    {u"&Oslash;", 216},  {u"&Ugrave;", 217},   {u"&Uacute;", 218},
    {u"&Ucirc;", 219},    {u"&Uuml;", 220},    {u"&Yacute;", 221},   {u"&THORN;", 222},
    {u"&szlig;", 223},    {u"&agrave;", 224},  {u"&aacute;", 225},   {u"&acirc;", 226},
    {u"&atilde;", 227},   {u"&auml;", 228},    {u"&aring;", 229},    {u"&aelig;", 230},
    {u"&ccedil;", 231},   {u"&egrave;", 232},  {u"&eacute;", 233},   {u"&ecirc;", 234},
    {u"&euml;", 235},     {u"&igrave;", 236},  {u"&iacute;", 237},   {u"&icirc;", 238},
    {u"&iuml;", 239},     {u"&eth;", 240},     {u"&ntilde;", 241},   {u"&ograve;", 242},
    {u"&oacute;", 243},   {u"&ocirc;", 244},   {u"&otilde;", 245},   {u"&ouml;", 246},
    {u"&divide;", 247},   {u"&oslash;", 248},  {u"&ugrave;", 249},   {u"&uacute;", 250},
    {u"&ucirc;", 251},    {u"&uuml;", 252},    {u"&yacute;", 253},   {u"&thorn;", 254},
    {u"&yuml;", 255},     {u"&OElig;", 338},   {u"&oelig;", 339},    {u"&Scaron;", 352},
    {u"&scaron;", 353},   {u"&Yuml;", 376},    {u"&fnof;", 402},     {u"&circ;", 710},
    {u"&tilde;", 732},    {u"&Alpha;", 913},   {u"&Beta;", 914},     {u"&Gamma;", 915},
    {u"&Delta;", 916},    {u"&Epsilon;", 917}, {u"&Zeta;", 918},     {u"&Eta;", 919},
    {u"&Theta;", 920},    {u"&Iota;", 921},    {u"&Kappa;", 922},    {u"&Lambda;", 923},
    {u"&Mu;", 924},       {u"&Nu;", 925},      {u"&Xi;", 926},       {u"&Omicron;", 927},
    {u"&Pi;", 928},       {u"&Rho;", 929},     {u"&Sigma;", 931},    {u"&Tau;", 932},
    {u"&Upsilon;", 933},  {u"&Phi;", 934},     {u"&Chi;", 935},      {u"&Psi;", 936},
    {u"&Omega;", 937},    {u"&alpha;", 945},   {u"&beta;", 946},     {u"&gamma;", 947},
    {u"&delta;", 948},    {u"&epsilon;", 949}, {u"&zeta;", 950},     {u"&eta;", 951},
    {u"&theta;", 952},    {u"&iota;", 953},    {u"&kappa;", 954},    {u"&lambda;", 955},
    {u"&mu;", 956},       {u"&nu;", 957},      {u"&xi;", 958},       {u"&omicron;", 959},
    {u"&pi;", 960},       {u"&rho;", 961},     {u"&sigmaf;", 962},   {u"&sigma;", 963},
    {u"&tau;", 964},      {u"&upsilon;", 965}, {u"&phi;", 966},      {u"&chi;", 967},
    {u"&psi;", 968},      {u"&omega;", 969},   {u"&thetasym;", 977}, {u"&upsih;", 978},
    {u"&piv;", 982},      {u"&ensp;", 8194},   {u"&emsp;", 8195},    {u"&thinsp;", 8201},
    {u"&zwnj;", 8204},    {u"&zwj;", 8205},    {u"&lrm;", 8206},     {u"&rlm;", 8207},
    {u"&ndash;", 8211},   {u"&mdash;", 8212},  {u"&lsquo;", 8216},   {u"&rsquo;", 8217},
    {u"&sbquo;", 8218},   {u"&ldquo;", 8220},  {u"&rdquo;", 8221},   {u"&bdquo;", 8222},
    {u"&dagger;", 8224},  {u"&Dagger;", 8225}, {u"&bull;", 8226},    {u"&hellip;", 8230},
    {u"&permil;", 8240},  {u"&prime;", 8242},  {u"&Prime;", 8243},   {u"&lsaquo;", 8249},
    {u"&rsaquo;", 8250},  {u"&oline;", 8254},  {u"&frasl;", 8260},   {u"&euro;", 8364},
    {u"&image;", 8465},   {u"&weierp;", 8472}, {u"&real;", 8476},    {u"&trade;", 8482},
    {u"&alefsym;", 8501}, {u"&larr;", 8592},   {u"&uarr;", 8593},    {u"&rarr;", 8594},
    {u"&darr;", 8595},    {u"&harr;", 8596},   {u"&crarr;", 8629},   {u"&lArr;", 8656},
    {u"&uArr;", 8657},    {u"&rArr;", 8658},   {u"&dArr;", 8659},    {u"&hArr;", 8660},
    {u"&forall;", 8704},  {u"&part;", 8706},   {u"&exist;", 8707},   {u"&empty;", 8709},
    {u"&nabla;", 8711},   {u"&isin;", 8712},   {u"&notin;", 8713},   {u"&ni;", 8715},
    {u"&prod;", 8719},    {u"&sum;", 8721},    {u"&minus;", 8722},   {u"&lowast;", 8727},
    {u"&radic;", 8730},   {u"&prop;", 8733},   {u"&infin;", 8734},   {u"&ang;", 8736},
    {u"&and;", 8743},     {u"&or;", 8744},     {u"&cap;", 8745},     {u"&cup;", 8746},
    {u"&int;", 8747},     {u"&there4;", 8756}, {u"&sim;", 8764},     {u"&cong;", 8773},
    {u"&asymp;", 8776},   {u"&ne;", 8800},     {u"&equiv;", 8801},   {u"&le;", 8804},
    {u"&ge;", 8805},      {u"&sub;", 8834},    {u"&sup;", 8835},     {u"&nsub;", 8836},
    {u"&sube;", 8838},    {u"&supe;", 8839},   {u"&oplus;", 8853},   {u"&otimes;", 8855},
    {u"&perp;", 8869},    {u"&sdot;", 8901},   {u"&lceil;", 8968},   {u"&rceil;", 8969},
    {u"&lfloor;", 8970},  {u"&rfloor;", 8971}, {u"&lang;", 9001},    {u"&rang;", 9002},
    {u"&loz;", 9674},     {u"&spades;", 9824}, {u"&clubs;", 9827},   {u"&hearts;", 9829},
    {u"&diams;", 9830},
}};

#include <QHash>
#include <QString>

std::optional<char16_t> lw::codeUnitForHTMLEntity(QStringView entity) {
    // Built once, on first use, in a thread-safe static.
    static const QHash<QString, char16_t> byText = [] {
        QHash<QString, char16_t> table;
        table.reserve(qsizetype(htmlEntityTable.size()));
        for (const LWHTMLEntity& row : htmlEntityTable)
            table.insert(QString::fromUtf16(row.text), row.codeUnit);
        return table;
    }();
    const auto it = byText.constFind(entity.toString());
    if (it == byText.constEnd())
        return std::nullopt;
    return *it;
}
