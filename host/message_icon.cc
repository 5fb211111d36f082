// The drawings below are the icon's source: change a letter to change a pixel.
#include "host/message_icon.h"

namespace tallowbrook {
namespace {

constexpr platform::Ink kInks[] = {
    {'#', {0x3B, 0x4A, 0x5C}},  // outline
    {'o', {0xFB, 0xF6, 0xE9}},  // paper
    {'-', {0xEF, 0xE4, 0xCB}},  // flap
    {'+', {0xC9, 0xBD, 0xA4}},  // folds
    {'*', {0xA8, 0x32, 0x2D}},  // wax
    {'@', {0xD2, 0x5A, 0x4E}},  // its highlight
};

constexpr std::string_view kEnvelope16 =
    "................"
    "................"
    "................"
    ".##############."
    "###----------###"
    "#oo#--------#oo#"
    "#ooo##----##ooo#"
    "#ooooo****ooooo#"
    "#ooooo****ooooo#"
    "#ooo+o****o+ooo#"
    "#o++oooooooo++o#"
    "#+oooooooooooo+#"
    ".##############."
    "................"
    "................"
    "................";

constexpr std::string_view kEnvelope24 =
    "........................"
    "........................"
    "........................"
    "........................"
    "..####################.."
    ".##------------------##."
    ".#o##--------------##o#."
    ".#ooo#------------#ooo#."
    ".#oooo#----------#oooo#."
    ".#ooooo##------##ooooo#."
    ".#ooooooo#****#ooooooo#."
    ".#ooooooo**@@**ooooooo#."
    ".#ooooooo**@@**ooooooo#."
    ".#ooooooo**@@**ooooooo#."
    ".#oooo+ooo****ooo+oooo#."
    ".#ooo+oooooooooooo+ooo#."
    ".#oo+oooooooooooooo+oo#."
    ".#o+oooooooooooooooo+o#."
    ".#+oooooooooooooooooo+#."
    "..####################.."
    "........................"
    "........................"
    "........................"
    "........................";

constexpr std::string_view kEnvelope32 =
    "................................"
    "................................"
    "................................"
    "................................"
    "................................"
    "...##########################..."
    "..##------------------------##.."
    "..#o##--------------------##o#.."
    "..#ooo#------------------#ooo#.."
    "..#oooo#----------------#oooo#.."
    "..#ooooo#--------------#ooooo#.."
    "..#oooooo#------------#oooooo#.."
    "..#ooooooo##--------##ooooooo#.."
    "..#ooooooooo#-****-#ooooooooo#.."
    "..#oooooooooo******oooooooooo#.."
    "..#ooooooooo***@@***ooooooooo#.."
    "..#ooooooooo**@@@@**ooooooooo#.."
    "..#ooooooooo***@@***ooooooooo#.."
    "..#oooooo+ooo******ooo+oooooo#.."
    "..#ooooo+ooooo****ooooo+ooooo#.."
    "..#oooo+oooooooooooooooo+oooo#.."
    "..#ooo+oooooooooooooooooo+ooo#.."
    "..#oo+oooooooooooooooooooo+oo#.."
    "..#o+oooooooooooooooooooooo+o#.."
    "..#+oooooooooooooooooooooooo+#.."
    "...##########################..."
    "................................"
    "................................"
    "................................"
    "................................"
    "................................"
    "................................";

constexpr std::string_view kEnvelope48 =
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "....########################################...."
    "...##--------------------------------------##..."
    "...#o##----------------------------------##o#..."
    "...#ooo#--------------------------------#ooo#..."
    "...#oooo#------------------------------#oooo#..."
    "...#ooooo#----------------------------#ooooo#..."
    "...#oooooo#--------------------------#oooooo#..."
    "...#ooooooo##----------------------##ooooooo#..."
    "...#ooooooooo#--------------------#ooooooooo#..."
    "...#oooooooooo#------------------#oooooooooo#..."
    "...#ooooooooooo#----------------#ooooooooooo#..."
    "...#oooooooooooo#--------------#oooooooooooo#..."
    "...#ooooooooooooo##---****---##ooooooooooooo#..."
    "...#ooooooooooooooo#********#ooooooooooooooo#..."
    "...#ooooooooooooooo**********ooooooooooooooo#..."
    "...#ooooooooooooooo****@@****ooooooooooooooo#..."
    "...#ooooooooooooooo***@@@@***ooooooooooooooo#..."
    "...#oooooooooooooo****@@@@****oooooooooooooo#..."
    "...#ooooooooooooooo***@@@@***ooooooooooooooo#..."
    "...#ooooooooooooooo****@@****ooooooooooooooo#..."
    "...#oooooooooo+oooo**********oooo+oooooooooo#..."
    "...#ooooooooo+oooooo********oooooo+ooooooooo#..."
    "...#oooooooo+ooooooooo****ooooooooo+oooooooo#..."
    "...#ooooooo+oooooooooooooooooooooooo+ooooooo#..."
    "...#oooooo+oooooooooooooooooooooooooo+oooooo#..."
    "...#ooooo+oooooooooooooooooooooooooooo+ooooo#..."
    "...#oooo+oooooooooooooooooooooooooooooo+oooo#..."
    "...#ooo+oooooooooooooooooooooooooooooooo+ooo#..."
    "...#oo+oooooooooooooooooooooooooooooooooo+oo#..."
    "...#o+oooooooooooooooooooooooooooooooooooo+o#..."
    "...#+oooooooooooooooooooooooooooooooooooooo+#..."
    "....########################################...."
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................"
    "................................................";

constexpr platform::IconDrawing kDrawings[] = {
    {16, kEnvelope16},
    {24, kEnvelope24},
    {32, kEnvelope32},
    {48, kEnvelope48},
};

constexpr bool all_whole() {
  for (const platform::IconDrawing& drawing : kDrawings) {
    const auto size = static_cast<std::size_t>(drawing.size);
    if (drawing.letters.size() != size * size) return false;
  }
  return true;
}
static_assert(all_whole(), "a row is too long or too short");

constexpr platform::IconGroup kMessageIcon{kIconMessage, kInks, kDrawings};

}  // namespace

const platform::IconGroup& message_icon() { return kMessageIcon; }

}  // namespace tallowbrook
